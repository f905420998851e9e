// The event loop of the host: everything that happens to a module happens inside one of its calls.
#pragma once

#include "openhost/ports/Port.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace openhost {

/// Why a run of the loop ended.
enum class RunEnd {
    Done,        ///< what was waited for has happened
    Idle,        ///< nothing is left that could still happen
    TimedOut,    ///< the limit has passed
    Interrupted, ///< a signal has come that ends the process
};

/// Port of the event loop. Backends: PollEventLoop, QtEventLoop, ManualEventLoop. One thread uses it. Calls throw
/// nothing; they may post, add and end timers and watches, their own included. A loop that ends drops what is left
/// without calling it.
class EventLoop : public Port<EventLoop> {
public:
    using Call = std::function<void()>;
    using Timer = std::uint64_t; ///< 0 is none
    /// What a watched descriptor is ready for.
    using Ready = std::function<void(bool readable, bool writable)>;

    virtual ~EventLoop();

    /// A ManualEventLoop.
    static std::unique_ptr<EventLoop> WithoutBackend();

    /// Runs `call` from the loop; calls run in the order in which they were posted, each between events.
    virtual void Post(Call call) = 0;
    /// Runs `call` once from the loop when `delay` has passed.
    virtual Timer CallAfter(std::chrono::milliseconds delay, Call call) = 0;
    /// Ends a timer; one that has fired or is unknown is ignored.
    virtual void CancelTimer(Timer timer) = 0;
    /// Calls `ready` whenever `descriptor` can be read or written as asked, or has an error; replaces an earlier
    /// watch of it. Asking for neither ends the watch.
    virtual void Watch(int descriptor, bool read, bool write, Ready ready) = 0;
    /// Ends the watch of `descriptor`; to be called before it is closed. One that is not watched is ignored.
    virtual void Unwatch(int descriptor) = 0;

    /// Runs events until `done` answers true (asked before the first and after each event), nothing is left
    /// to happen, or `limit` has passed. Runs nest: a call of the loop may run it again.
    virtual RunEnd RunUntil(const std::function<bool()>& done,
                            std::optional<std::chrono::milliseconds> limit = std::nullopt) = 0;
    /// Runs until nothing is left to happen or `limit` has passed.
    RunEnd RunUntilIdle(std::optional<std::chrono::milliseconds> limit = std::nullopt)
    {
        return RunUntil([] { return false; }, limit);
    }
};

extern template class Port<EventLoop>;

} // namespace openhost
