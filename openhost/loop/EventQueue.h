// What an event loop has before it: posted calls, timers, watched descriptors, and the events that are due.
#pragma once

#include "openhost/loop/EventLoop.h"

#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <utility>
#include <variant>

namespace openhost {

/// The part of an event loop that does not depend on where events come from. Events run one at a time in the
/// order in which they came up; one whose timer or watch has ended meanwhile is dropped. Every operation may be
/// called from inside an event.
class EventQueue {
public:
    /// Time since the start of the owner's clock.
    using Time = std::chrono::nanoseconds;

    EventQueue() = default;
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;
    ~EventQueue();

    /// Drops what is left without calling it.
    void Clear();
    void Post(EventLoop::Call call);
    /// Numbers of timers are unique in the process, so that one of another loop is unknown here.
    EventLoop::Timer AddTimer(Time due, EventLoop::Call call);
    void RemoveTimer(EventLoop::Timer timer);
    void SetWatch(int descriptor, EventLoop::Ready ready);
    void RemoveWatch(int descriptor);

    /// Queues the timers due at `now`, those of one time in the order of their making.
    void QueueTimers(Time now);
    void QueueReady(int descriptor, bool readable, bool writable);
    /// The time of the next timer that is not queued yet.
    std::optional<Time> NextTimer() const;

    bool HasEvents() const { return !events_.empty(); }
    bool HasTimers() const { return !timers_.empty(); }
    /// Runs the next event. False when it had been dropped, or there is none.
    bool RunOne();
    /// How many events have left the queue.
    std::uint64_t Taken() const { return taken_; }
    /// How many events have entered the queue.
    std::uint64_t Queued() const { return taken_ + events_.size(); }

private:
    struct TimerEvent {
        EventLoop::Timer timer;
    };
    struct ReadyEvent {
        int descriptor;
        std::uint64_t watch;
        bool readable;
        bool writable;
    };
    struct PendingTimer {
        Time due;
        EventLoop::Call call;
    };
    struct WatchRecord {
        std::uint64_t number;
        std::shared_ptr<const EventLoop::Ready> ready;
    };

    std::deque<std::variant<EventLoop::Call, TimerEvent, ReadyEvent>> events_;
    std::map<EventLoop::Timer, PendingTimer> timers_;
    std::set<std::pair<Time, EventLoop::Timer>> order_;
    std::map<int, WatchRecord> watches_;
    std::uint64_t lastWatch_ = 0;
    std::uint64_t taken_ = 0;
};

} // namespace openhost
