#include "openhost/loop/PolledDescriptors.h"

#include <poll.h>

#include <cerrno>
#include <thread>
#include <vector>

namespace openhost {

void PolledDescriptors::Start(int descriptor, bool read, bool write)
{
    events_[descriptor] = static_cast<short>((read ? POLLIN : 0) | (write ? POLLOUT : 0));
}

void PolledDescriptors::Collect(EventQueue& queue, std::optional<std::chrono::milliseconds> longest) const
{
    std::vector<pollfd> descriptors;
    descriptors.reserve(events_.size());
    for (const auto& [descriptor, events] : events_)
        descriptors.push_back({descriptor, events, 0});

    const int ready = poll(descriptors.data(), descriptors.size(), longest ? static_cast<int>(longest->count()) : -1);
    if (ready < 0 && errno != EINTR && longest != std::chrono::milliseconds(0)) {
        // The system lacks memory: a moment later it may have some, and timers go on.
        constexpr std::chrono::milliseconds moment(10);
        std::this_thread::sleep_for(std::min(moment, longest.value_or(moment)));
    }
    if (ready <= 0)
        return;

    for (const pollfd& entry : descriptors) {
        // An error is for the owner to meet: the descriptor then counts as ready for what was asked.
        const bool error = (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
        const bool readable = (entry.events & POLLIN) != 0 && (error || (entry.revents & POLLIN) != 0);
        const bool writable = (entry.events & POLLOUT) != 0 && (error || (entry.revents & POLLOUT) != 0);
        if (readable || writable)
            queue.QueueReady(entry.fd, readable, writable);
    }
}

} // namespace openhost
