#include "openhost/loop/PollEventLoop.h"

#include <fcntl.h>

namespace openhost {

void PollEventLoop::TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest)
{
    if (wait)
        polled_.Collect(queue_, longest);
    else
        polled_.Collect(queue_, std::chrono::milliseconds(0));
}

bool PollEventLoop::StartWatch(int descriptor, bool read, bool write)
{
    if (fcntl(descriptor, F_GETFD) < 0)
        return false;
    polled_.Start(descriptor, read, write);
    return true;
}

} // namespace openhost
