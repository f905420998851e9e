// The desktop over Qt.
#pragma once

#include "openhost/desktop/Desktop.h"

#include <QPointer>
#include <QWidget>

class QApplication;
class QSettings;

namespace openhost {

class MainWindow;

/// Owns the application of Qt. Without a display it works offscreen, where nobody sees the windows. The browser's
/// sandbox is off for the superuser, under whom it does not start.
class QtDesktop final : public Desktop {
public:
    /// Throws std::logic_error when the process has an application of Qt already.
    QtDesktop();
    QtDesktop(const QtDesktop&) = delete;
    QtDesktop& operator=(const QtDesktop&) = delete;
    ~QtDesktop() override;

    bool HasDisplay() const override;
    std::unique_ptr<EventLoop> MakeLoop() override;
    std::unique_ptr<DialogSurface> MakeDialogs() override;
    std::unique_ptr<PanelPages> MakePages() override;
    std::unique_ptr<DesktopWindow> OpenWindow(const WindowSubject& subject) override;

private:
    std::unique_ptr<QApplication> application_;
    std::unique_ptr<QSettings> settings_; ///< of the user: language, colours, places
    QPointer<QWidget> window_;            ///< a MainWindow
};

} // namespace openhost
