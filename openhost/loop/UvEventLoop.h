// The event loop of a running host, over libuv.
#pragma once

#include "openhost/loop/EventQueue.h"

namespace openhost {

/// Waits in the system between events. A run is idle when no posted call, timer or watch is left; its own limit does
/// not count. A descriptor that the system cannot watch is reported as ready once, so that its owner meets the error.
class UvEventLoop final : public EventLoop {
public:
    /// Throws std::runtime_error when the system gives no loop.
    UvEventLoop();
    UvEventLoop(const UvEventLoop&) = delete;
    UvEventLoop& operator=(const UvEventLoop&) = delete;
    ~UvEventLoop() override;

    void Post(Call call) override;
    Timer CallAfter(std::chrono::milliseconds delay, Call call) override;
    void CancelTimer(Timer timer) override;
    void Watch(int descriptor, bool read, bool write, Ready ready) override;
    void Unwatch(int descriptor) override;
    RunEnd RunUntil(const std::function<bool()>& done,
                    std::optional<std::chrono::milliseconds> limit = std::nullopt) override;

private:
    struct Uv;

    /// Queues what has come up. Without queued events waits for some, at most until `limit`.
    void Collect(std::optional<EventQueue::Time> limit);

    std::uint64_t batchEnd_ = 0; ///< events queued up to here run before the system is asked again
    EventQueue queue_;
    std::unique_ptr<Uv> uv_;
};

} // namespace openhost
