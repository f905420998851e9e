// The event loop of a host with windows, over that of Qt.
#pragma once

#include "openhost/loop/EventQueue.h"

namespace openhost {

/// Lets windows and browser go on while it runs, and calls what is due between their events, never from inside one. A
/// run is idle when no posted call, timer or watch is left: windows do not count, since what they might bring has no
/// end. Who waits for something of a window keeps a timer meanwhile. A descriptor that is not open is reported as ready
/// once, so that its owner meets the error.
class QtEventLoop final : public EventLoop {
public:
    /// Throws std::logic_error without an application of Qt.
    QtEventLoop();
    QtEventLoop(const QtEventLoop&) = delete;
    QtEventLoop& operator=(const QtEventLoop&) = delete;
    ~QtEventLoop() override;

    void Post(Call call) override;
    Timer CallAfter(std::chrono::milliseconds delay, Call call) override;
    void CancelTimer(Timer timer) override;
    void Watch(int descriptor, bool read, bool write, Ready ready) override;
    void Unwatch(int descriptor) override;
    RunEnd RunUntil(const std::function<bool()>& done,
                    std::optional<std::chrono::milliseconds> limit = std::nullopt) override;

private:
    struct Sources;

    /// Lets Qt handle its events and queues what has come up. Without queued events waits for some, at most until
    /// `limit`.
    void Collect(std::optional<EventQueue::Time> limit);

    std::uint64_t batchEnd_ = 0; ///< events queued up to here run before Qt has its turn again
    EventQueue queue_;
    std::unique_ptr<Sources> sources_;
};

} // namespace openhost
