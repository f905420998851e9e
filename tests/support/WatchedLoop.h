// An event loop that tells what is asked of it.
#pragma once

#include "openhost/loop/EventLoop.h"
#include "tests/support/CallLog.h"

#include <string>
#include <utility>

namespace openhost::testing {

/// Notes "post", "wait MILLISECONDS" and "wait no more", and hands everything on to another loop.
class WatchedLoop final : public EventLoop {
public:
    WatchedLoop(EventLoop& loop, CallLog& log) : loop_(loop), log_(log) {}

    void Post(Call call) override
    {
        log_.Note("post");
        loop_.Post(std::move(call));
    }
    Timer CallAfter(std::chrono::milliseconds delay, Call call) override
    {
        log_.Note("wait " + std::to_string(delay.count()));
        return loop_.CallAfter(delay, std::move(call));
    }
    void CancelTimer(Timer timer) override
    {
        log_.Note("wait no more");
        loop_.CancelTimer(timer);
    }
    void Watch(int descriptor, bool read, bool write, Ready ready) override
    {
        loop_.Watch(descriptor, read, write, std::move(ready));
    }
    void Unwatch(int descriptor) override { loop_.Unwatch(descriptor); }
    RunEnd RunUntil(const std::function<bool()>& done, std::optional<std::chrono::milliseconds> limit) override
    {
        return loop_.RunUntil(done, limit);
    }

private:
    EventLoop& loop_;
    CallLog& log_;
};

} // namespace openhost::testing
