#include "openhost/desktop/browser/BrowserPage.h"

#include "openhost/desktop/browser/BrowserProfile.h"

#include <QAuthenticator>
#include <QWebEngineCertificateError>
#include <QWebEngineFileSystemAccessRequest>
#include <QWebEngineFullScreenRequest>
#include <QWebEngineRegisterProtocolHandlerRequest>

namespace openhost {

BrowserPage::BrowserPage(QWebEngineProfile& profile) : QWebEnginePage(&profile)
{
    connect(this, &QWebEnginePage::certificateError, this,
            [](QWebEngineCertificateError error) { error.rejectCertificate(); });
    connect(this, &QWebEnginePage::featurePermissionRequested, this, [this](const QUrl& origin, Feature feature) {
        setFeaturePermission(origin, feature, PermissionDeniedByUser);
    });
    connect(this, &QWebEnginePage::fileSystemAccessRequested, this,
            [](QWebEngineFileSystemAccessRequest request) { request.reject(); });
    connect(this, &QWebEnginePage::fullScreenRequested, this,
            [](QWebEngineFullScreenRequest request) { request.reject(); });
    connect(this, &QWebEnginePage::registerProtocolHandlerRequested, this,
            [](QWebEngineRegisterProtocolHandlerRequest request) { request.reject(); });
    // No user name is no answer: the server then says what it shows without one.
    connect(this, &QWebEnginePage::authenticationRequired, this,
            [](const QUrl&, QAuthenticator* authenticator) { *authenticator = QAuthenticator(); });
    connect(this, &QWebEnginePage::proxyAuthenticationRequired, this,
            [](const QUrl&, QAuthenticator* authenticator, const QString&) { *authenticator = QAuthenticator(); });
}

bool BrowserPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame)
{
    // Where a redirection leads is refused when it is fetched, as everything else: refused here, it leaves the browser
    // with a request that is gone.
    return type == NavigationTypeRedirect || IsShowable(url) || (!isMainFrame && url == QUrl("about:blank"));
}

QStringList BrowserPage::chooseFiles(FileSelectionMode, const QStringList&, const QStringList&)
{
    return {};
}

void BrowserPage::javaScriptAlert(const QUrl&, const QString&) {}

// Yes: the question may be whether the page may be left.
bool BrowserPage::javaScriptConfirm(const QUrl&, const QString&)
{
    return true;
}

bool BrowserPage::javaScriptPrompt(const QUrl&, const QString&, const QString&, QString*)
{
    return false;
}

// What a page writes for its developers is not the host's to print.
void BrowserPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int, const QString&) {}

} // namespace openhost
