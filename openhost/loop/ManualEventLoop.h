// An event loop whose clock stands still until somebody moves it.
#pragma once

#include "openhost/loop/PolledDescriptors.h"

namespace openhost {

/// Runs posted calls and ready descriptors only; timers fire while Advance moves the clock. A run never waits:
/// it is idle once no posted call is left and no watched descriptor is ready. Limits of runs never pass, as the
/// clock does not move during a run.
class ManualEventLoop final : public EventLoop {
public:
    ~ManualEventLoop() override { queue_.Clear(); }

    /// Moves the clock by `time`. Timers that come due fire one after the other, each at its own time, with the
    /// calls they post run before the next; calls already posted run first.
    void Advance(std::chrono::milliseconds time);

    void Post(Call call) override;
    Timer CallAfter(std::chrono::milliseconds delay, Call call) override;
    void CancelTimer(Timer timer) override;
    void Watch(int descriptor, bool read, bool write, Ready ready) override;
    void Unwatch(int descriptor) override;
    RunEnd RunUntil(const std::function<bool()>& done,
                    std::optional<std::chrono::milliseconds> limit = std::nullopt) override;

private:
    std::chrono::nanoseconds now_{0};
    PolledDescriptors polled_;
    EventQueue queue_;
};

} // namespace openhost
