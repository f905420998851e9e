// The steps that a session file may have.
#pragma once

#include "openhost/play/LocatedJson.h"
#include "openhost/play/SessionStep.h"

#include <memory>

namespace openhost {

/// Reads the step `description`: a map with one of the keys that name a step, and what goes with it.
/// Throws LocatedError.
std::unique_ptr<SessionStep> ReadStep(const LocatedJson& description);

} // namespace openhost
