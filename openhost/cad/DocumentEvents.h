// What the workspace tells the journal of its documents.
#pragma once

#include "openhost/cad/LoadedDocument.h"

namespace openhost {

/// Tells that `action` has happened to `document`.
void Tell(const LoadedDocument& document, const char* action);

} // namespace openhost
