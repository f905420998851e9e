// Documents as STEP, for other systems.
#pragma once

#include "openhost/exchange/ExchangeError.h"

#include <filesystem>
#include <functional>
#include <string>

namespace openhost {

/// Who has a STEP file written.
struct StepAuthor {
    std::string name;
    std::string organization;
};

/// Writes the tree of the document `document` to the file `output` as STEP (AP214, millimetres). Each document is
/// one product under its part number, however often it is used, with its description and the name of StepNameParameter
/// where it has that; each instance has its name and its placement. The header names `author`, this program and its
/// kernel. A missing document is left out; `warn` gets a line about each.
///
/// Throws for a damaged document, a cycle, a tree that is too large, and an output that cannot be written, which is
/// then as it was.
void ExportStep(const std::filesystem::path& document, const std::filesystem::path& output, const StepAuthor& author,
                const std::function<void(const std::string& line)>& warn);

} // namespace openhost
