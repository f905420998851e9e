// The names that a session can name: checked when it is read, so that a slip does not look like a thing that never
// came.
#pragma once

#include "openhost/play/LocatedJson.h"

#include <string>

namespace openhost {

/// Each throws LocatedError, which lists the names that there are, for `name` in `value`. Texts with placeholders are
/// left for the play.
void CheckWait(const LocatedJson& value, const std::string& name);
void CheckQuestion(const LocatedJson& value, const std::string& name);
void CheckWindow(const LocatedJson& value, const std::string& name);
/// `window` is one that CheckWindow takes.
void CheckControl(const LocatedJson& value, const std::string& window, const std::string& name);

} // namespace openhost
