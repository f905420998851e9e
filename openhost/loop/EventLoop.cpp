#include "openhost/loop/EventLoop.h"

#include "openhost/loop/ManualEventLoop.h"

namespace openhost {

namespace {
std::unique_ptr<EventLoop>& Holder()
{
    static std::unique_ptr<EventLoop> loop = std::make_unique<ManualEventLoop>();
    return loop;
}
} // namespace

EventLoop::~EventLoop() = default;

EventLoop& EventLoop::Current()
{
    return *Holder();
}

std::unique_ptr<EventLoop> EventLoop::Install(std::unique_ptr<EventLoop> loop)
{
    Holder().swap(loop);
    return loop;
}

} // namespace openhost
