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
    /// What Qt calls here sets a mark and no more: no exception may pass through Qt.
    struct Notifiers {
        std::unique_ptr<QSocketNotifier> read;
        std::unique_ptr<QSocketNotifier> write;
        bool readable = false; ///< found in Qt's present turn
        bool writable = false;
    };

    QTimer wake; ///< ends a wait; runs only while waiting
    std::map<int, Notifiers> notifiers;
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

    for (auto& [descriptor, notifiers] : sources_->notifiers) {
        const bool readable = std::exchange(notifiers.readable, false);
        const bool writable = std::exchange(notifiers.writable, false);
        if (readable || writable)
            queue_.QueueReady(descriptor, readable, writable);
    }
}

bool QtEventLoop::StartWatch(int descriptor, bool read, bool write)
{
    if (fcntl(descriptor, F_GETFD) < 0)
        return false;

    Sources::Notifiers& notifiers = sources_->notifiers[descriptor];
    notifiers = {};
    if (read) {
        notifiers.read = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
        QObject::connect(notifiers.read.get(), &QSocketNotifier::activated, notifiers.read.get(),
                         [&notifiers] { notifiers.readable = true; });
    }
    if (write) {
        notifiers.write = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Write);
        QObject::connect(notifiers.write.get(), &QSocketNotifier::activated, notifiers.write.get(),
                         [&notifiers] { notifiers.writable = true; });
    }
    return true;
}

void QtEventLoop::EndWatch(int descriptor)
{
    sources_->notifiers.erase(descriptor);
}

} // namespace openhost
