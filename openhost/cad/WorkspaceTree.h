// The tree of a document as the workspace has it, for the journal.
#pragma once

#include "openhost/cad/LoadedDocument.h"

#include <nlohmann/json.hpp>

namespace openhost {

/// The root product of `document` as an object: "name", "partNumber", "file", for a component "at" (its position in
/// the father, three numbers in millimetres), "children" where there are any. A missing component has "link" and
/// "problem" instead of "partNumber" and "file". What is left out of a tree that is too large is told by "more": true.
nlohmann::ordered_json DescribeTree(const LoadedDocument& document);

} // namespace openhost
