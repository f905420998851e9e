#include "openhost/loop/EventQueue.h"

namespace openhost {

EventQueue::~EventQueue()
{
    Clear();
}

void EventQueue::Clear()
{
    // What calls hold may come back here while it ends: everything is emptied before it is destroyed.
    order_.clear();
    while (!events_.empty() || !timers_.empty() || !watches_.empty()) {
        const auto events = std::exchange(events_, {});
        const auto timers = std::exchange(timers_, {});
        const auto watches = std::exchange(watches_, {});
    }
}

void EventQueue::Post(EventLoop::Call call)
{
    events_.emplace_back(std::move(call));
}

EventLoop::Timer EventQueue::AddTimer(Time due, EventLoop::Call call)
{
    static EventLoop::Timer last = 0;
    const EventLoop::Timer timer = ++last;
    // In this order: a time without a timer, which is all that a lack of memory can leave, is passed over.
    order_.emplace(due, timer);
    timers_.emplace(timer, PendingTimer{due, std::move(call)});
    return timer;
}

void EventQueue::RemoveTimer(EventLoop::Timer timer)
{
    const auto found = timers_.find(timer);
    if (found == timers_.end())
        return;
    order_.erase({found->second.due, timer});
    const auto removed = timers_.extract(found);
}

void EventQueue::SetWatch(int descriptor, EventLoop::Ready ready)
{
    WatchRecord record{++lastWatch_, std::make_shared<const EventLoop::Ready>(std::move(ready))};
    std::swap(watches_[descriptor], record);
}

void EventQueue::RemoveWatch(int descriptor)
{
    const auto removed = watches_.extract(descriptor);
}

void EventQueue::QueueTimers(Time now)
{
    while (!order_.empty() && order_.begin()->first <= now) {
        events_.emplace_back(TimerEvent{order_.begin()->second});
        order_.erase(order_.begin());
    }
}

void EventQueue::QueueReady(int descriptor, bool readable, bool writable)
{
    const auto found = watches_.find(descriptor);
    if (found != watches_.end())
        events_.emplace_back(ReadyEvent{descriptor, found->second.number, readable, writable});
}

std::optional<EventQueue::Time> EventQueue::NextTimer() const
{
    if (order_.empty())
        return std::nullopt;
    return order_.begin()->first;
}

bool EventQueue::RunOne()
{
    if (events_.empty())
        return false;
    const auto event = std::move(events_.front());
    events_.pop_front();
    ++taken_;

    if (const auto* call = std::get_if<EventLoop::Call>(&event)) {
        (*call)();
        return true;
    }
    if (const auto* due = std::get_if<TimerEvent>(&event)) {
        const auto timer = timers_.extract(due->timer);
        if (timer.empty())
            return false;
        timer.mapped().call();
        return true;
    }
    const auto& occurrence = std::get<ReadyEvent>(event);
    const auto watch = watches_.find(occurrence.descriptor);
    if (watch == watches_.end() || watch->second.number != occurrence.watch)
        return false;
    const auto ready = watch->second.ready;
    (*ready)(occurrence.readable, occurrence.writable);
    return true;
}

} // namespace openhost
