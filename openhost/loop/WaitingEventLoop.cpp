#include "openhost/loop/WaitingEventLoop.h"

#include "openhost/loop/Interruption.h"

#include <algorithm>

namespace openhost {

namespace {

EventQueue::Time Now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

void WaitingEventLoop::Post(Call call)
{
    queue_.Post(std::move(call));
}

EventLoop::Timer WaitingEventLoop::CallAfter(std::chrono::milliseconds delay, Call call)
{
    return queue_.AddTimer(Now() + delay, std::move(call));
}

void WaitingEventLoop::CancelTimer(Timer timer)
{
    queue_.RemoveTimer(timer);
}

void WaitingEventLoop::Watch(int descriptor, bool read, bool write, Ready ready)
{
    if (!read && !write) {
        Unwatch(descriptor);
        return;
    }
    try {
        queue_.SetWatch(descriptor, std::move(ready));
        if (StartWatch(descriptor, read, write)) {
            watched_.insert(descriptor);
            return;
        }
        // Its owner meets the error.
        watched_.erase(descriptor);
        queue_.QueueReady(descriptor, read, write);
    } catch (...) {
        Unwatch(descriptor);
        throw;
    }
}

void WaitingEventLoop::Unwatch(int descriptor)
{
    EndWatch(descriptor);
    watched_.erase(descriptor);
    queue_.RemoveWatch(descriptor);
}

RunEnd WaitingEventLoop::RunUntil(const std::function<bool()>& done, std::optional<std::chrono::milliseconds> limit)
{
    std::optional<EventQueue::Time> end;
    if (limit)
        end = Now() + *limit;
    if (done())
        return RunEnd::Done;
    if (!watchesSignals_ && Interruption::Descriptor() >= 0)
        watchesSignals_ = StartWatch(Interruption::Descriptor(), true, false);
    while (true) {
        if (Interruption::Signal() != 0) {
            Interruption::Drain();
            return RunEnd::Interrupted;
        }
        if (queue_.Taken() >= batchEnd_) {
            Collect(end);
            batchEnd_ = queue_.Queued();
            if (done())
                return RunEnd::Done;
        }
        if (queue_.RunOne() && done())
            return RunEnd::Done;
        if (!queue_.HasEvents() && !queue_.HasTimers() && watched_.empty())
            return RunEnd::Idle;
        if (end && Now() >= *end)
            return RunEnd::TimedOut;
    }
}

void WaitingEventLoop::Collect(std::optional<EventQueue::Time> limit)
{
    constexpr std::chrono::milliseconds MaximumWait = std::chrono::hours(24); // backends count in 32 bits
    queue_.QueueTimers(Now());

    const bool wait = !queue_.HasEvents() && (queue_.HasTimers() || !watched_.empty());
    auto end = queue_.NextTimer();
    if (limit && (!end || *limit < *end))
        end = limit;
    std::optional<std::chrono::milliseconds> longest;
    if (end) {
        const auto left = std::max(*end - Now(), EventQueue::Time{0});
        longest = std::min(std::chrono::ceil<std::chrono::milliseconds>(left), MaximumWait);
    }
    TakeTurn(wait, longest);

    queue_.QueueTimers(Now());
}

} // namespace openhost
