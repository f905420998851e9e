// Why the workspace refuses an operation.
#pragma once

#include <stdexcept>

namespace openhost {

class CadWorkspaceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace openhost
