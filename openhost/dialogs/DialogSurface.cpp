#include "openhost/dialogs/DialogSurface.h"

#include "openhost/dialogs/ScriptedSurface.h"

#include <utility>

namespace openhost {

namespace {

// Never destroyed: dialogs of other libraries may end after the statics of this one.
std::unique_ptr<DialogSurface>& Installed()
{
    static auto& surface = *new std::unique_ptr<DialogSurface>(std::make_unique<ScriptedSurface>());
    return surface;
}

} // namespace

DialogSurface::~DialogSurface() = default;

DialogSurface& DialogSurface::Current()
{
    return *Installed();
}

std::unique_ptr<DialogSurface> DialogSurface::Install(std::unique_ptr<DialogSurface> surface)
{
    if (!surface)
        surface = std::make_unique<ScriptedSurface>();
    return std::exchange(Installed(), std::move(surface));
}

} // namespace openhost
