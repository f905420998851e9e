#include "openhost/desktop/QtEventLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>

#include <map>
#include <stdexcept>

namespace openhost {

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
    WaitingEventLoop::Post(std::move(call));
    // Qt's own handlers post too, while a run waits.
    QAbstractEventDispatcher::instance()->wakeUp();
}

void QtEventLoop::TakeTurn(bool wait, std::optional<std::chrono::milliseconds> longest)
{
    if (wait && longest)
        sources_->wake.start(*longest);
    QCoreApplication::processEvents(wait ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
    // An object that its own handler gave up is deleted only where no handler runs.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    sources_->wake.stop();

    for (const auto& [descriptor, ready] : std::exchange(sources_->ready, {}))
        queue_.QueueReady(descriptor, ready.readable, ready.writable);
}

bool QtEventLoop::StartWatch(int descriptor, bool read, bool write)
{
    if (fcntl(descriptor, F_GETFD) < 0) {
        return false;
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
    return true;
}

void QtEventLoop::EndWatch(int descriptor)
{
    sources_->notifiers.erase(descriptor);
}

} // namespace openhost
