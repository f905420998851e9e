#include "openhost/desktop/browser/HostChannel.h"

namespace openhost {

void HostChannel::sendMessage(const QString& document, const QString& text)
{
    if (text.size() <= MaximumMessageLength)
        receive_(document, text);
}

} // namespace openhost
