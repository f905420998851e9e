#include "openhost/loop/UvEventLoop.h"

#include <uv.h>

#include <map>
#include <stdexcept>
#include <string>

namespace openhost {

// uv_run may not be entered twice: libuv only says what has come up.
struct UvEventLoop::Uv {
    struct Poll {
        uv_poll_t handle;
        EventQueue* queue;
        int descriptor;
        int events;
    };

    static void QueueReady(uv_poll_t* handle, int status, int events)
    {
        const auto* poll = static_cast<Poll*>(handle->data);
        const int ready = status < 0 ? poll->events : events;
        poll->queue->QueueReady(poll->descriptor, (ready & UV_READABLE) != 0, (ready & UV_WRITABLE) != 0);
    }

    static void Close(std::unique_ptr<Poll> poll)
    {
        uv_poll_stop(&poll->handle);
        uv_close(reinterpret_cast<uv_handle_t*>(&poll.release()->handle),
                 [](uv_handle_t* handle) { delete static_cast<Poll*>(handle->data); });
    }

    uv_loop_t loop;
    uv_timer_t wake; ///< ends a wait; runs only while waiting
    std::map<int, std::unique_ptr<Poll>> polls;
};

UvEventLoop::UvEventLoop() : uv_(std::make_unique<Uv>())
{
    if (const int error = uv_loop_init(&uv_->loop); error != 0)
        throw std::runtime_error(std::string("no event loop: ") + uv_strerror(error));
    uv_timer_init(&uv_->loop, &uv_->wake);
}

UvEventLoop::~UvEventLoop()
{
    queue_.Clear();
    for (auto& [descriptor, poll] : uv_->polls)
        Uv::Close(std::move(poll));
    uv_close(reinterpret_cast<uv_handle_t*>(&uv_->wake), nullptr);
    uv_run(&uv_->loop, UV_RUN_DEFAULT);
    uv_loop_close(&uv_->loop);
}

void UvEventLoop::TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest)
{
    if (wait && longest) {
        uv_update_time(&uv_->loop);
        uv_timer_start(
            &uv_->wake, [](uv_timer_t*) {}, static_cast<std::uint64_t>(longest->count()), 0);
    }
    uv_run(&uv_->loop, wait ? UV_RUN_ONCE : UV_RUN_NOWAIT);
    uv_timer_stop(&uv_->wake);
}

bool UvEventLoop::StartWatch(int descriptor, bool read, bool write)
{
    auto& poll = uv_->polls[descriptor];
    if (!poll) {
        poll = std::make_unique<Uv::Poll>();
        poll->handle.data = poll.get();
        poll->queue = &queue_;
        poll->descriptor = descriptor;
        if (uv_poll_init(&uv_->loop, &poll->handle, descriptor) != 0) {
            uv_->polls.erase(descriptor);
            return false;
        }
    }
    poll->events = (read ? UV_READABLE : 0) | (write ? UV_WRITABLE : 0);
    uv_poll_start(&poll->handle, poll->events, Uv::QueueReady);
    return true;
}

void UvEventLoop::EndWatch(int descriptor)
{
    const auto found = uv_->polls.find(descriptor);
    if (found == uv_->polls.end())
        return;
    Uv::Close(std::move(found->second));
    uv_->polls.erase(found);
}

} // namespace openhost
