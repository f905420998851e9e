#include "openhost/webpage/QtEventLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>

#include <algorithm>
#include <stdexcept>

namespace openhost {

namespace {

EventQueue::Time Now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

struct QtEventLoop::Sources {
    struct Notifiers {
        std::unique_ptr<QSocketNotifier> read;
        std::unique_ptr<QSocketNotifier> write;
    };
    struct Readiness {
        bool readable = false;
        bool writable = false;
    };

    QTimer wake; ///< ends a wait; runs only while waiting
    std::map<int, Notifiers> notifiers;
    std::map<int, Readiness> ready; ///< descriptors that Qt has found ready in its present turn
};

QtEventLoop::QtEventLoop() : sources_(std::make_unique<Sources>())
{
    if (!QCoreApplication::instance())
        throw std::logic_error("no application of Qt");
    sources_->wake.setSingleShot(true);
    sources_->wake.setTimerType(Qt::PreciseTimer);
}

QtEventLoop::~QtEventLoop()
{
    queue_.Clear();
}

void QtEventLoop::Post(Call call)
{
    queue_.Post(std::move(call));
    // Qt's own handlers post too, while a run waits.
    QAbstractEventDispatcher::instance()->wakeUp();
}

EventLoop::Timer QtEventLoop::CallAfter(std::chrono::milliseconds delay, Call call)
{
    return queue_.AddTimer(Now() + delay, std::move(call));
}

void QtEventLoop::CancelTimer(Timer timer)
{
    queue_.RemoveTimer(timer);
}

void QtEventLoop::Watch(int descriptor, bool read, bool write, Ready ready)
{
    if (!read && !write) {
        Unwatch(descriptor);
        return;
    }
    queue_.SetWatch(descriptor, std::move(ready));
    if (fcntl(descriptor, F_GETFD) < 0) {
        queue_.QueueReady(descriptor, read, write);
        return;
    }

    Sources::Notifiers& notifiers = sources_->notifiers[descriptor];
    notifiers = {};
    if (read) {
        notifiers.read = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
        QObject::connect(notifiers.read.get(), &QSocketNotifier::activated, notifiers.read.get(),
                         [this, descriptor] { sources_->ready[descriptor].readable = true; });
    }
    if (write) {
        notifiers.write = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Write);
        QObject::connect(notifiers.write.get(), &QSocketNotifier::activated, notifiers.write.get(),
                         [this, descriptor] { sources_->ready[descriptor].writable = true; });
    }
}

void QtEventLoop::Unwatch(int descriptor)
{
    sources_->notifiers.erase(descriptor);
    queue_.RemoveWatch(descriptor);
}

RunEnd QtEventLoop::RunUntil(const std::function<bool()>& done, std::optional<std::chrono::milliseconds> limit)
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
            // What Qt has handled may be what is waited for.
            if (done())
                return RunEnd::Done;
        }
        if (queue_.RunOne() && done())
            return RunEnd::Done;
        if (!queue_.HasEvents() && !queue_.HasTimers() && sources_->notifiers.empty())
            return RunEnd::Idle;
        if (end && Now() >= *end)
            return RunEnd::TimedOut;
    }
}

void QtEventLoop::Collect(std::optional<EventQueue::Time> limit)
{
    queue_.QueueTimers(Now());

    const bool wait = !queue_.HasEvents() && (queue_.HasTimers() || !sources_->notifiers.empty());
    auto end = queue_.NextTimer();
    if (limit && (!end || *limit < *end))
        end = limit;
    if (wait && end) {
        constexpr std::chrono::milliseconds Longest = std::chrono::hours(24);
        const auto delay = std::chrono::ceil<std::chrono::milliseconds>(std::max(*end - Now(), EventQueue::Time{0}));
        sources_->wake.start(std::min(delay, Longest));
    }
    QCoreApplication::processEvents(wait ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
    // An object that its own handler gave up is deleted only where no handler runs.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    sources_->wake.stop();

    for (const auto& [descriptor, ready] : std::exchange(sources_->ready, {}))
        queue_.QueueReady(descriptor, ready.readable, ready.writable);
    queue_.QueueTimers(Now());
}

} // namespace openhost
