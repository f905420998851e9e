// The command that makes documents of a file of another system.
#pragma once

#include "openhost/conversion/ConvertDocument.h"

#include <functional>
#include <string>

namespace openhost {

struct ImportArguments {
    std::string file;
    std::string folder;
    bool replace = false;
};

/// Imports the file and prints the path of the root. On a terminal it tells how far it is. A signal that ends the
/// program ends the import first, which then leaves nothing. Gives the exit status; throws GeometryJobError or
/// std::runtime_error when it fails.
int ImportFile(const ImportArguments& arguments, const GeometryJobLimits& limits,
               const std::function<void(const std::string& line)>& warn);

} // namespace openhost
