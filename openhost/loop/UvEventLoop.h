// The event loop of a running host, over libuv.
#pragma once

#include "openhost/loop/WaitingEventLoop.h"

namespace openhost {

/// Waits in the system between events.
class UvEventLoop final : public WaitingEventLoop {
public:
    /// Throws std::runtime_error when the system gives no loop.
    UvEventLoop();
    ~UvEventLoop() override;

private:
    struct Uv;

    void TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest) override;
    bool StartWatch(int descriptor, bool read, bool write) override;
    void EndWatch(int descriptor) override;

    std::unique_ptr<Uv> uv_;
};

} // namespace openhost
