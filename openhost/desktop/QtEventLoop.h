// The event loop of a host with windows, over that of Qt.
#pragma once

#include "openhost/loop/WaitingEventLoop.h"

namespace openhost {

/// Lets windows and browser go on while it runs. Windows do not keep a run from being idle, since what they might
/// bring has no end: who waits for something of a window keeps a timer meanwhile.
class QtEventLoop final : public WaitingEventLoop {
public:
    /// Throws std::logic_error without an application of Qt.
    QtEventLoop();
    ~QtEventLoop() override;

    void Post(Call call) override;

private:
    struct Sources;

    void TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest) override;
    bool StartWatch(int descriptor, bool read, bool write) override;
    void EndWatch(int descriptor) override;

    std::unique_ptr<Sources> sources_;
};

} // namespace openhost
