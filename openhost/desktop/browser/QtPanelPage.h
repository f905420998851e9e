// One page of the panel in a window.
#pragma once

#include "openhost/loop/EventLoop.h"
#include "openhost/panel/PageUser.h"
#include "openhost/panel/PanelPage.h"

#include <QEvent>
#include <QPointF>
#include <QVariant>
#include <QWebEngineLoadingInfo>
#include <QWidget>

class QLabel;
class QPushButton;
class QStackedWidget;
class QToolButton;
class QWebEngineProfile;
class QWebEngineView;

namespace openhost {

class BrowserPage;
class HostChannel;

/// The browser's view of one page, with buttons to go back, reload and go home above it, and a page of its own for what
/// cannot be shown. The handlers script and the channel live in one world of their own and injected scripts in another,
/// which both begin anew with each document.
class QtPanelPage final : public QWidget, public PanelPage, public PageUser {
public:
    /// Puts a page where the user sees it.
    using Place = std::function<void(QtPanelPage& page)>;

    /// `profile` outlives the page.
    QtPanelPage(QWebEngineProfile& profile, Listener listener, const Place& place);
    ~QtPanelPage() override;

    bool LoadUrl(const std::string& url) override;
    bool ExecuteScript(const std::string& script) override;
    bool ExecuteHandlers(const std::string& script) override;
    void DispatchEvent(const std::string& document, const std::string& name, const std::string& detail) override;

    void Click(const std::string& selector) override;
    void Enter(const std::string& selector, const std::string& text) override;
    void Press(const std::string& key) override;
    bool Shows(const std::string& selector) override;
    void SavePicture(const std::filesystem::path& file) override;

    /// Where the button for home leads: the first address that was loaded, unless this is said.
    void SetHome(const QUrl& home) { home_ = home; }
    /// Asks the panel to close, as the user does.
    void AskToClose();
    /// Texts in the language in use.
    void Retranslate();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void MakeButtons();
    QWidget* MakeErrorPage();
    void ShowError(const QUrl& address);
    /// Tells the document whether the window is dark, which the browser takes from the system alone.
    void ShowColours();
    void Load(const QUrl& address);
    void OnLoading(const QWebEngineLoadingInfo& info);
    void ReportDocument();
    /// By the address and the number that the handlers know, and the number that injected scripts know.
    void ReportDocument(const QVariantList& own, const QString& injected);
    void ReportFailure();
    void OnMessage(const QString& document, const QString& text);
    /// Runs `script` in the world of the handlers, unless another document has taken the place of `document` by then.
    void RunBesideHandlers(const QString& document, const QString& script);
    /// Calls the listener from the loop, unless the page has been destroyed by then.
    void Report(std::function<void(const Listener&)> call);
    void BeginWork();
    void EndWork();

    /// Runs `script` in a world that neither the page nor injected scripts see, and waits for its value.
    QVariant Evaluate(const QString& script);
    /// Evaluates `script` again and again until it gives true, with an attempt at it each time before the next.
    void Await(
        const QString& script, const std::string& what, const std::function<void()>& attempt = [] {});
    /// Asks `done` again and again, with the loop running between.
    void AwaitHere(const std::function<bool()>& done, const std::string& what);
    /// Runs the loop until `done`. Throws std::runtime_error when that takes too long.
    void RunUntil(const std::function<bool()>& done, const std::string& what);
    QWidget& Target();
    /// The middle of the element, scrolled into view. Throws std::runtime_error when it cannot be clicked.
    QPointF PlaceOf(const std::string& selector);
    void SendPointer(QEvent::Type type, QPointF place, Qt::MouseButton button, Qt::MouseButtons buttons);
    /// Moves the pointer until the page notices. A page that has just loaded drops input, so this goes before any
    /// other.
    void MovePointer(QPointF place);
    void SendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text);

    std::shared_ptr<const Listener> listener_; ///< reports hold it weakly
    std::unique_ptr<HostChannel> channel_;
    std::unique_ptr<BrowserPage> page_;
    QStackedWidget* shown_ = nullptr; ///< the view, or the page of an error
    QWebEngineView* view_ = nullptr;
    QLabel* error_ = nullptr;
    QToolButton* back_ = nullptr;
    QToolButton* reload_ = nullptr;
    QToolButton* goHome_ = nullptr;
    QPushButton* again_ = nullptr;
    QUrl home_;
    QUrl address_;                 ///< asked for last
    QString document_;             ///< the document told to the listener last; empty for none
    QString injectedDocument_;     ///< the same as injected scripts know it
    int loads_ = 0;                ///< loads begun; an answer about an earlier one is out of date
    EventLoop::Timer working_ = 0; ///< time limit of the load in progress, which keeps the loop from being idle
};

} // namespace openhost
