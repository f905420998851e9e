// Counted objects in tests, and lists of texts.
#pragma once

#include "openhost/objects/Owned.h"

#include <string>
#include <vector>

namespace openhost::testing {

using Texts = std::vector<std::string>;

} // namespace openhost::testing
