#include "openhost/loop/ManualEventLoop.h"

#include <poll.h>

#include <algorithm>
#include <vector>

namespace openhost {

void ManualEventLoop::Advance(std::chrono::milliseconds time)
{
    const auto target = now_ + time;
    RunUntilIdle();
    for (auto due = queue_.NextTimer(); due && *due <= target; due = queue_.NextTimer()) {
        now_ = std::max(now_, *due);
        queue_.QueueTimers(now_);
        RunUntilIdle();
    }
    now_ = std::max(now_, target);
}

void ManualEventLoop::Post(Call call)
{
    queue_.Post(std::move(call));
}

EventLoop::Timer ManualEventLoop::CallAfter(std::chrono::milliseconds delay, Call call)
{
    return queue_.AddTimer(now_ + delay, std::move(call));
}

void ManualEventLoop::CancelTimer(Timer timer)
{
    queue_.RemoveTimer(timer);
}

void ManualEventLoop::Watch(int descriptor, bool read, bool write, Ready ready)
{
    if (!read && !write) {
        Unwatch(descriptor);
        return;
    }
    polled_[descriptor] = static_cast<short>((read ? POLLIN : 0) | (write ? POLLOUT : 0));
    queue_.SetWatch(descriptor, std::move(ready));
}

void ManualEventLoop::Unwatch(int descriptor)
{
    polled_.erase(descriptor);
    queue_.RemoveWatch(descriptor);
}

RunEnd ManualEventLoop::RunUntil(const std::function<bool()>& done, std::optional<std::chrono::milliseconds>)
{
    if (done())
        return RunEnd::Done;
    while (true) {
        if (!queue_.HasEvents())
            QueueReadyDescriptors();
        if (!queue_.HasEvents())
            return RunEnd::Idle;
        if (queue_.RunOne() && done())
            return RunEnd::Done;
    }
}

void ManualEventLoop::QueueReadyDescriptors()
{
    std::vector<pollfd> descriptors;
    for (const auto& [descriptor, events] : polled_)
        descriptors.push_back({descriptor, events, 0});
    if (descriptors.empty() || poll(descriptors.data(), descriptors.size(), 0) <= 0)
        return;
    for (const pollfd& entry : descriptors) {
        // An error is for the owner to meet: the descriptor then counts as ready for what was asked.
        const bool error = (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
        const bool readable = (entry.events & POLLIN) != 0 && (error || (entry.revents & POLLIN) != 0);
        const bool writable = (entry.events & POLLOUT) != 0 && (error || (entry.revents & POLLOUT) != 0);
        if (readable || writable)
            queue_.QueueReady(entry.fd, readable, writable);
    }
}

} // namespace openhost
