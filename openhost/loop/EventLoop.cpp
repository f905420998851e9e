#include "openhost/loop/EventLoop.h"

#include "openhost/loop/ManualEventLoop.h"

namespace openhost {

template class Port<EventLoop>;

EventLoop::~EventLoop() = default;

std::unique_ptr<EventLoop> EventLoop::WithoutBackend()
{
    return std::make_unique<ManualEventLoop>();
}

} // namespace openhost
