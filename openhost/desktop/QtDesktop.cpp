#include "openhost/desktop/QtDesktop.h"

#include "openhost/desktop/QtEventLoop.h"
#include "openhost/desktop/browser/QtPanelPages.h"
#include "openhost/desktop/questions/QtDialogSurface.h"

#include <QApplication>
#include <QLoggingCategory>

#include <clocale>
#include <stdexcept>

#include <unistd.h>

namespace openhost {

namespace {

/// Sets an environment variable that the user has not set.
void Default(const char* name, const QByteArray& value)
{
    if (!qEnvironmentVariableIsSet(name))
        qputenv(name, value);
}

} // namespace

QtDesktop::QtDesktop()
{
    if (QCoreApplication::instance())
        throw std::logic_error("the process has an application of Qt already");

    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        Default("QT_QPA_PLATFORM", "offscreen");
    if (geteuid() == 0)
        Default("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // Chromium draws by itself: a machine without a graphics card shows the same page, and nothing warns about it.
    Default("QTWEBENGINE_CHROMIUM_FLAGS", "--disable-gpu --disable-dev-shm-usage");

    // Qt tells how the browser was started and what it misses in the environment. QT_LOGGING_RULES brings that back.
    QLoggingCategory::setFilterRules("qt.webenginecontext=false\ndefault.warning=false\ndefault.info=false");

    // The application keeps references on these.
    static char name[] = "openhost";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    application_ = std::make_unique<QApplication>(count, arguments);
    application_->setQuitOnLastWindowClosed(false);
    // Numbers in the files of the host have a point, whatever the user's language.
    std::setlocale(LC_NUMERIC, "C");
}

QtDesktop::~QtDesktop() = default;

bool QtDesktop::HasDisplay() const
{
    return QGuiApplication::platformName() != "offscreen" && QGuiApplication::platformName() != "minimal";
}

std::unique_ptr<EventLoop> QtDesktop::MakeLoop()
{
    return std::make_unique<QtEventLoop>();
}

std::unique_ptr<DialogSurface> QtDesktop::MakeDialogs()
{
    return std::make_unique<QtDialogSurface>();
}

std::unique_ptr<PanelPages> QtDesktop::MakePages()
{
    return std::make_unique<QtPanelPages>();
}

} // namespace openhost

extern "C" __attribute__((visibility("default"))) openhost::Desktop* OpenhostMakeDesktop(std::string& reason)
{
    try {
        return new openhost::QtDesktop;
    } catch (const std::exception& error) {
        reason = error.what();
        return nullptr;
    }
}
