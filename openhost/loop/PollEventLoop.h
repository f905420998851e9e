// The event loop of a running host, over poll(2).
#pragma once

#include "openhost/loop/PolledDescriptors.h"
#include "openhost/loop/WaitingEventLoop.h"

namespace openhost {

/// Waits in the system between events. It takes nothing of the system that could be refused.
class PollEventLoop final : public WaitingEventLoop {
public:
    ~PollEventLoop() override { queue_.Clear(); }

private:
    void TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest) override;
    bool StartWatch(int descriptor, bool read, bool write) override;
    void EndWatch(int descriptor) override { polled_.End(descriptor); }

    PolledDescriptors polled_;
};

} // namespace openhost
