#include "openhost/cad/DocumentEvents.h"

#include "openhost/journal/Journal.h"

namespace openhost {

void Tell(const LoadedDocument& document, const char* action)
{
    if (!journal::IsOpen()) // a product changes once for each instance
        return;
    journal::Write("document", {{"path", document.Path().string()}, {"action", action}});
}

} // namespace openhost
