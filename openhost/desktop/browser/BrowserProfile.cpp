#include "openhost/desktop/browser/BrowserProfile.h"

#include "openhost/http/HttpAddress.h"

#include <QFile>
#include <QWebEngineDownloadRequest>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInfo>
#include <QWebEngineUrlRequestInterceptor>

#include <stdexcept>

namespace openhost {

namespace {

/// Holds everything that a page fetches to the rule for pages.
class Gate : public QWebEngineUrlRequestInterceptor {
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo& request) override
    {
        const QUrl url = request.requestUrl();
        const bool within = request.resourceType() != QWebEngineUrlRequestInfo::ResourceTypeMainFrame;
        if (!IsShowable(url) && !(within && (url.scheme() == "data" || url.scheme() == "blob")))
            request.block(true);
    }
};

QString ReadResource(const QString& name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the browser lacks " + name.toStdString());
    return QString::fromUtf8(file.readAll());
}

/// Gives the handlers script the object `hostPanel`. `document` is different for each document, so that what belongs to
/// one that has gone can be told.
constexpr const char* ChannelScript = R"(
(() => {
    const waiting = [];
    let host = null;
    const document = String(performance.timeOrigin) + "-" + String(Math.random());
    globalThis.hostPanel = Object.freeze({
        document,
        sendMessage(text) {
            if (typeof text !== "string")
                throw new TypeError("a message is a text");
            if (host)
                host.sendMessage(document, text);
            else
                waiting.push(text);
        },
    });
    new QWebChannel(qt.webChannelTransport, (channel) => {
        host = channel.objects.hostPanel;
        for (const text of waiting.splice(0))
            host.sendMessage(document, text);
    });
})();
)";

/// Gives injected scripts, which have no channel, a number of the document of their own.
constexpr const char* DocumentScript = R"(
Object.defineProperty(globalThis, "hostDocument", {
    value: String(performance.timeOrigin) + "-" + String(Math.random()),
});
)";

void AddScript(QWebEngineProfile& profile, const QString& name, const QString& source, quint32 world)
{
    QWebEngineScript script;
    script.setName(name);
    script.setSourceCode(source);
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(world);
    script.setRunsOnSubFrames(false);
    profile.scripts()->insert(script);
}

} // namespace

bool IsShowable(const QUrl& url)
{
    const auto address = ParseHttpAddress(url.toString(QUrl::FullyEncoded).toStdString());
    return address && (address->scheme == "https" || address->IsLoopback());
}

std::unique_ptr<QWebEngineProfile> MakeBrowserProfile()
{
    auto profile = std::make_unique<QWebEngineProfile>();
    profile->setUrlRequestInterceptor(new Gate(profile.get()));
    QObject::connect(profile.get(), &QWebEngineProfile::downloadRequested, profile.get(),
                     [](QWebEngineDownloadRequest* download) { download->cancel(); });

    QWebEngineSettings& settings = *profile->settings();
    for (const auto attribute :
         {QWebEngineSettings::JavascriptCanOpenWindows, QWebEngineSettings::JavascriptCanAccessClipboard,
          QWebEngineSettings::LocalContentCanAccessFileUrls, QWebEngineSettings::PluginsEnabled,
          QWebEngineSettings::PdfViewerEnabled, QWebEngineSettings::FullScreenSupportEnabled,
          QWebEngineSettings::ScreenCaptureEnabled, QWebEngineSettings::NavigateOnDropEnabled,
          QWebEngineSettings::DnsPrefetchEnabled, QWebEngineSettings::AllowRunningInsecureContent})
        settings.setAttribute(attribute, false);

    AddScript(*profile, "host channel", ReadResource(":/qtwebchannel/qwebchannel.js") + ChannelScript, HandlersWorld);
    AddScript(*profile, "host document", DocumentScript, InjectedWorld);
    return profile;
}

} // namespace openhost
