// The page of the browser engine, with the manners of a panel.
#pragma once

#include <QWebEnginePage>

namespace openhost {

/// Shows what IsShowable allows and refuses everything that would leave the panel or ask the user something: windows,
/// permissions, files, passwords, dialogs.
class BrowserPage : public QWebEnginePage {
public:
    explicit BrowserPage(QWebEngineProfile& profile);

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QStringList chooseFiles(FileSelectionMode mode, const QStringList& old, const QStringList& types) override;
    void javaScriptAlert(const QUrl& origin, const QString& text) override;
    bool javaScriptConfirm(const QUrl& origin, const QString& text) override;
    bool javaScriptPrompt(const QUrl& origin, const QString& text, const QString& proposal, QString* answer) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& text, int line,
                                  const QString& source) override;
};

} // namespace openhost
