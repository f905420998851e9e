#include "openhost/loop/ManualEventLoop.h"

#include <algorithm>

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
    polled_.Start(descriptor, read, write);
    queue_.SetWatch(descriptor, std::move(ready));
}

void ManualEventLoop::Unwatch(int descriptor)
{
    polled_.End(descriptor);
    queue_.RemoveWatch(descriptor);
}

RunEnd ManualEventLoop::RunUntil(const std::function<bool()>& done, std::optional<std::chrono::milliseconds>)
{
    if (done())
        return RunEnd::Done;
    while (true) {
        if (!queue_.HasEvents())
            polled_.Collect(queue_, std::chrono::milliseconds(0));
        if (!queue_.HasEvents())
            return RunEnd::Idle;
        if (queue_.RunOne() && done())
            return RunEnd::Done;
    }
}

} // namespace openhost
