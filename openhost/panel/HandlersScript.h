// The script that connects the catalogue's page to the host.
#pragma once

#include "host/text.h"

namespace openhost {

/// Whether `script` is the handlers script of the installation, for one of the contexts that modules have for it. One
/// that has been once stays so, whatever becomes of its file.
bool IsHandlersScript(const ZALUnicodeString& script);

} // namespace openhost
