// The scripted host of a fuzz target.
#pragma once

#include "tests/support/ScriptedHost.h"

#include <memory>

namespace openhost::testing {

/// The host for the next run: a new one every few hundred runs, since it keeps a record of all that happens.
inline ScriptedHost& RenewedHost()
{
    // The ports come into being with the first host; made before the holder, they outlive it at the end.
    [[maybe_unused]] static const bool portsAreThere = [] {
        ScriptedHost first;
        return true;
    }();
    static std::unique_ptr<ScriptedHost> host;
    static unsigned int runs = 0;
    if (runs++ % 512 == 0) {
        host.reset();
        host = std::make_unique<ScriptedHost>();
    }
    return *host;
}

} // namespace openhost::testing
