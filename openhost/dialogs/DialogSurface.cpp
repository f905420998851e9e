#include "openhost/dialogs/DialogSurface.h"

#include "openhost/dialogs/ScriptedSurface.h"

namespace openhost {

template class Port<DialogSurface>;

DialogSurface::~DialogSurface() = default;

std::unique_ptr<DialogSurface> DialogSurface::WithoutBackend()
{
    return std::make_unique<ScriptedSurface>();
}

} // namespace openhost
