#include "openhost/loop/UvEventLoop.h"

#include <uv.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace openhost {

namespace {
EventQueue::Time Now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}
} // namespace

// libuv only says what has come up. Calls run outside of uv_run, which may not be entered twice: so runs nest.
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

void UvEventLoop::Post(Call call)
{
    queue_.Post(std::move(call));
}

EventLoop::Timer UvEventLoop::CallAfter(std::chrono::milliseconds delay, Call call)
{
    return queue_.AddTimer(Now() + delay, std::move(call));
}

void UvEventLoop::CancelTimer(Timer timer)
{
    queue_.RemoveTimer(timer);
}

void UvEventLoop::Watch(int descriptor, bool read, bool write, Ready ready)
{
    if (!read && !write) {
        Unwatch(descriptor);
        return;
    }
    const int events = (read ? UV_READABLE : 0) | (write ? UV_WRITABLE : 0);
    queue_.SetWatch(descriptor, std::move(ready));

    auto& poll = uv_->polls[descriptor];
    if (!poll) {
        poll = std::make_unique<Uv::Poll>();
        poll->handle.data = poll.get();
        poll->queue = &queue_;
        poll->descriptor = descriptor;
        if (uv_poll_init(&uv_->loop, &poll->handle, descriptor) != 0) {
            uv_->polls.erase(descriptor);
            queue_.QueueReady(descriptor, read, write);
            return;
        }
    }
    poll->events = events;
    uv_poll_start(&poll->handle, events, Uv::QueueReady);
}

void UvEventLoop::Unwatch(int descriptor)
{
    const auto found = uv_->polls.find(descriptor);
    if (found != uv_->polls.end()) {
        Uv::Close(std::move(found->second));
        uv_->polls.erase(found);
    }
    queue_.RemoveWatch(descriptor);
}

RunEnd UvEventLoop::RunUntil(const std::function<bool()>& done, std::optional<std::chrono::milliseconds> limit)
{
    std::optional<EventQueue::Time> end;
    if (limit)
        end = Now() + *limit;
    if (done())
        return RunEnd::Done;
    while (true) {
        if (queue_.Taken() >= batchEnd_) {
            Collect(end);
            batchEnd_ = queue_.Queued();
        }
        if (queue_.RunOne() && done())
            return RunEnd::Done;
        if (!queue_.HasEvents() && !queue_.HasTimers() && uv_->polls.empty())
            return RunEnd::Idle;
        if (end && Now() >= *end)
            return RunEnd::TimedOut;
    }
}

void UvEventLoop::Collect(std::optional<EventQueue::Time> limit)
{
    queue_.QueueTimers(Now());

    const bool wait = !queue_.HasEvents() && (queue_.HasTimers() || !uv_->polls.empty());
    auto end = queue_.NextTimer();
    if (limit && (!end || *limit < *end))
        end = limit;
    if (wait && end) {
        const auto delay = std::chrono::ceil<std::chrono::milliseconds>(std::max(*end - Now(), EventQueue::Time{0}));
        uv_update_time(&uv_->loop);
        uv_timer_start(
            &uv_->wake, [](uv_timer_t*) {}, static_cast<std::uint64_t>(delay.count()), 0);
    }
    uv_run(&uv_->loop, wait ? UV_RUN_ONCE : UV_RUN_NOWAIT);
    uv_timer_stop(&uv_->wake);

    queue_.QueueTimers(Now());
}

} // namespace openhost
