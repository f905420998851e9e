#include "openhost/cad/DocumentEvents.h"

#include "openhost/journal/Events.h"

namespace openhost {

void Tell(const LoadedDocument& document, const char* action)
{
    journal::Write([&] { return journal::Document{.path = document.Path().string(), .action = action}; });
}

} // namespace openhost
