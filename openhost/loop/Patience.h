// What keeps a run of the loop from being idle.
#pragma once

#include "openhost/loop/EventLoop.h"

namespace openhost {

/// While it lives the loop has something to wait for, however long the user thinks.
class Patience {
public:
    Patience() { Renew(); }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience() { EventLoop::Current().CancelTimer(timer_); }

private:
    void Renew()
    {
        timer_ = EventLoop::Current().CallAfter(std::chrono::hours(1), [this] { Renew(); });
    }

    EventLoop::Timer timer_ = 0;
};

} // namespace openhost
