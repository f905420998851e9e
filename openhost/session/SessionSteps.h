// The steps that a session file may have.
#pragma once

#include "openhost/session/LocatedJson.h"
#include "openhost/session/SessionStep.h"

#include <memory>

namespace openhost {

/// Reads the step `description`: a map with one of the keys that name a step, and what goes with it.
/// Throws LocatedError.
std::unique_ptr<SessionStep> ReadStep(const LocatedJson& description);

} // namespace openhost
