// What the event loops of running hosts have in common: the steady clock, and the order of waiting and calling.
#pragma once

#include "openhost/loop/EventQueue.h"

#include <set>

namespace openhost {

/// A loop that waits in the system between events. The backend says what has come up; everything is called from here,
/// outside of the backend's own turn, so that runs nest. A run is idle when no posted call, timer or watch is left;
/// its own limit does not count. Backends empty the queue before they end: what it drops may end watches.
class WaitingEventLoop : public EventLoop {
public:
    WaitingEventLoop(const WaitingEventLoop&) = delete;
    WaitingEventLoop& operator=(const WaitingEventLoop&) = delete;

    void Post(Call call) override;
    Timer CallAfter(std::chrono::milliseconds delay, Call call) final;
    void CancelTimer(Timer timer) final;
    void Watch(int descriptor, bool read, bool write, Ready ready) final;
    void Unwatch(int descriptor) final;
    /// Asks `done` after each turn of the backend as well, which may run handlers of its own.
    RunEnd RunUntil(const std::function<bool()>& done,
                    std::optional<std::chrono::milliseconds> limit = std::nullopt) final;

protected:
    WaitingEventLoop() = default;

    /// A turn of the backend: queues the descriptors that are ready. With `wait` returns when one is, or `longest` has
    /// passed.
    virtual void TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest) = 0;
    /// Reports `descriptor` when it is ready for reading or writing, whichever is asked, in place of what was asked
    /// before. False for one that the system cannot watch.
    virtual bool StartWatch(int descriptor, bool read, bool write) = 0;
    /// Ends what StartWatch began, if anything.
    virtual void EndWatch(int descriptor) = 0;

    EventQueue queue_;

private:
    /// Queues what has come up. Without queued events waits for some, at most until `limit`.
    void Collect(std::optional<EventQueue::Time> limit);

    std::set<int> watched_;
    bool watchesSignals_ = false; ///< which keeps no run from being idle
    std::uint64_t batchEnd_ = 0;  ///< events queued up to here run before the backend has its turn again
};

} // namespace openhost
