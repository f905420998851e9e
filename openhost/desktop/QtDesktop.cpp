#include "openhost/desktop/QtDesktop.h"

#include "openhost/desktop/QtEventLoop.h"
#include "openhost/desktop/browser/QtPanelPages.h"
#include "openhost/desktop/questions/QtDialogSurface.h"
#include "openhost/desktop/window/Colours.h"
#include "openhost/desktop/window/MainWindow.h"
#include "openhost/desktop/window/Words.h"
#include "openhost/dialogs/TextFile.h"

#include <QApplication>
#include <QLocale>
#include <QLoggingCategory>
#include <QSettings>
#include <QStyleFactory>

#include <cerrno>
#include <clocale>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/eventfd.h>
#include <unistd.h>

namespace openhost {

namespace {

/// Sets an environment variable that the user has not set.
void Default(const char* name, const QByteArray& value)
{
    if (!qEnvironmentVariableIsSet(name))
        qputenv(name, value);
}

/// What the user has chosen before, otherwise that of his system.
std::string LanguageOfUser(const QSettings& settings)
{
    const QString chosen = settings.value("language").toString();
    for (const UserLanguage& language : UserLanguages)
        if (chosen == language.name || (chosen.isEmpty() && QLocale::system().name().startsWith(language.code)))
            return language.name;
    return UserLanguages[0].name;
}

/// Descriptors that an application with a browser needs to begin with, and some more.
constexpr int NeededDescriptors = 256;

/// Qt and the browser end the process when the system refuses them one. Throws std::system_error.
void RequireDescriptors()
{
    std::vector<int> taken;
    taken.reserve(NeededDescriptors);
    int error = 0;
    while (error == 0 && taken.size() < NeededDescriptors) {
        const int descriptor = eventfd(0, EFD_CLOEXEC);
        if (descriptor < 0)
            error = errno;
        else
            taken.push_back(descriptor);
    }
    for (const int descriptor : taken)
        close(descriptor);
    if (error != 0)
        throw std::system_error(error, std::generic_category(),
                                "windows need " + std::to_string(NeededDescriptors) + " descriptors");
}

} // namespace

QtDesktop::QtDesktop()
{
    RequireDescriptors();
    if (QCoreApplication::instance())
        throw std::logic_error("the process has an application of Qt already");

    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        Default("QT_QPA_PLATFORM", "offscreen");
    if (geteuid() == 0)
        Default("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // Chromium draws by itself: a machine without a graphics card shows the same page, and nothing warns about it.
    // Screen readers are told what the page holds; by itself Chromium would not notice them here.
    Default("QTWEBENGINE_CHROMIUM_FLAGS", "--disable-gpu --disable-dev-shm-usage --force-renderer-accessibility");

    // So does Qt: a browser drawn by OpenGL would have the surface of its window made anew, which the 3D view does not
    // survive.
    Default("QT_QUICK_BACKEND", "software");

    // Qt tells how the browser was started and what it misses in the environment. QT_LOGGING_RULES brings that back.
    QLoggingCategory::setFilterRules("qt.webenginecontext=false\ndefault.warning=false\ndefault.info=false");

    // The application keeps references on these.
    static char name[] = "openhost";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    // The 3D view is a window of the system; the browser beside it must not become one.
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    application_ = std::make_unique<QApplication>(count, arguments);
    application_->setQuitOnLastWindowClosed(false);
    // Numbers in the files of the host have a point, whatever the user's language.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    settings_ = std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, "openhost", "desktop");
    UseWords(QString::fromStdString(Language()));
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
    return std::make_unique<QtDialogSurface>([this] { return window_ ? window_->windowHandle() : nullptr; });
}

std::unique_ptr<PanelPages> QtDesktop::MakePages()
{
    return std::make_unique<QtPanelPages>([this](QtPanelPage& page) {
        if (window_)
            static_cast<MainWindow&>(*window_).PlacePage(page);
        else
            QtPanelPages::ShowAsWindow(page);
    });
}

std::unique_ptr<DesktopWindow> QtDesktop::OpenWindow(const WindowSubject& subject)
{
    if (subject.language)
        SetLanguage(subject.language->empty() ? LanguageOfUser(*settings_) : *subject.language);
    UseWords(QString::fromStdString(Language()));
    UseColours(static_cast<Colours>(settings_->value("colours", 0).toInt()));
    auto window = std::make_unique<MainWindow>(subject, *settings_);
    window_ = window.get();
    return window;
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
