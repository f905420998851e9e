#include "openhost/loop/InterruptionWatch.h"

#include "openhost/loop/Interruption.h"

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace openhost {

InterruptionWatch::InterruptionWatch(std::function<void()> interrupt) : end_(eventfd(0, EFD_CLOEXEC))
{
    if (!end_)
        throw std::system_error(errno, std::generic_category(), "signals cannot be waited for");
    Interruption::Catch();
    thread_ = std::thread([this, interrupt = std::move(interrupt)] { Wait(interrupt); });
}

InterruptionWatch::~InterruptionWatch()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(end_.Number(), &one, sizeof(one));
    thread_.join();
}

void InterruptionWatch::Wait(const std::function<void()>& interrupt) const
{
    pollfd entries[] = {{Interruption::Descriptor(), POLLIN, 0}, {end_.Number(), POLLIN, 0}};
    while (poll(entries, 2, -1) < 0 && errno == EINTR) {
    }
    if (entries[0].revents != 0)
        interrupt();
}

} // namespace openhost
