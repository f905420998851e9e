// The border between operations of the workspace, which throw, and those of the host view, which give codes.
#pragma once

#include "host/object_model.h"
#include "openhost/journal/Events.h"

#include <exception>

namespace openhost {

/// Runs `operation`, which may throw; E_FAIL, and a line in the journal under the name `name`, when it does.
template <class Operation>
HRESULT Guard(const char* name, Operation operation)
{
    try {
        operation();
        return S_OK;
    } catch (const std::exception& error) {
        journal::Write([&] { return journal::RefusedOperation{.operation = name, .reason = error.what()}; });
        return E_FAIL;
    }
}

} // namespace openhost
