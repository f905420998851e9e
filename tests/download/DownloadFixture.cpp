#include "tests/download/DownloadFixture.h"

#include "events/ZALVelmartIntegrationEventSubscriber.h"

#include <stdexcept>

namespace openhost::testing {

ZALOmxAny Json(const std::string& text)
{
    ZALOmxAny value;
    if (FAILED(ZALOmxJson().parse(ZALOmxUTF8String(text.data(), text.size()), value)))
        throw std::invalid_argument("no JSON: " + text);
    return value;
}

void PrintTo(const Completion& completion, std::ostream* stream)
{
    *stream << "status " << completion.status << ", environment \"" << completion.environment << "\", error \""
            << completion.error << "\", files:";
    for (const std::string& file : completion.files)
        *stream << ' ' << file;
    *stream << ", " << completion.warnings.size() << " warnings";
}

Completion Fields(const Notification& notification)
{
    return {notification.GetStatus(), TextsOf(notification.GetDownloadedFilesPathes()),
            ToUtf8(notification.GetDocEnvId()), ToUtf8(notification.GetErrorMessageNLS()),
            TextsOf(notification.GetWarningsMessageNLS())};
}

CompletionReceiver::CompletionReceiver(ZALBaseUnknown* publisher)
{
    AddCallback(publisher, Notification::ClassName(), &CompletionReceiver::OnComplete, nullptr);
}

void CompletionReceiver::OnComplete(ZALBaseUnknown*, ZALNotification* notification, void*)
{
    Received.push_back(Fields(dynamic_cast<const Notification&>(*notification)));
    if (OnReceipt)
        OnReceipt();
}

CompletionCounter::CompletionCounter(ZALBaseUnknown* publisher)
{
    AddCallback(publisher, Notification::ClassName(), &CompletionCounter::OnComplete, nullptr);
}

void CompletionCounter::OnComplete(ZALBaseUnknown*, ZALNotification* notification, void*)
{
    const auto& complete = dynamic_cast<const Notification&>(*notification);
    ++(complete.GetStatus() == Notification::DownloadSucceeded ? Succeeded : Failed);
    if (complete.GetStatus() == Notification::DownloadSucceeded)
        Files = complete.GetDownloadedFilesPathes().Size();
}

DownloadFixture::DownloadFixture()
{
    // The first default download of the process settles the template support; from here on the tests do.
    Probe.StartDefaultDownload({});
    Probe.SetTemplateSupport(false);
}

DownloadFixture::~DownloadFixture()
{
    Probe.SetTemplateSupport(false);
    // A function that a test has brought about holds the downloader, which ends here.
    ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber()->SetMessageFunction({});
}

ScriptedTransport::Script& DownloadFixture::StartTransfer()
{
    if (FAILED(Probe.StartDefaultDownloadURL(Url)))
        throw std::runtime_error("the transfer does not start");
    return Transport().Last();
}

void DownloadFixture::Transfer(const std::string& body, int code, const HttpHeaders& headers)
{
    ScriptedTransport::Script& script = StartTransfer();
    script.Head(code, headers);
    if (!body.empty())
        script.Bytes(body);
    script.End();
}

void DownloadFixture::ServeFile(const std::string& url, const std::string& fileName, const std::string& content)
{
    Transport().Answer(url, {.headers = FileNamed(fileName), .chunks = {content}});
}

void DownloadFixture::ServeArchive(const std::string& url, const ZipBytes& archive)
{
    Transport().Answer(url, {.headers = {{"content-type", "application/zip"}}, .chunks = {archive.Bytes()}});
}

void DownloadFixture::ServeEnd(const std::string& url, TransferEnd end)
{
    Transport().Answer(url, {.code = std::nullopt, .end = end});
}

std::vector<std::string> DownloadFixture::Requested()
{
    std::vector<std::string> urls;
    for (const HttpRequestData& request : Transport().Requests())
        urls.push_back(request.url);
    return urls;
}

Completion DownloadFixture::Succeeded(const std::vector<std::string>& entries,
                                      const std::vector<std::string>& warnings) const
{
    Completion completion{Notification::DownloadSucceeded, {}, "File", "", warnings};
    for (const std::string& entry : entries)
        completion.files.push_back(InParts(entry));
    return completion;
}

ZALUnicodeString DownloadFixture::Archive(const ZipBytes& archive) const
{
    archive.Write(TemporaryFile());
    return TemporaryFile().c_str();
}

} // namespace openhost::testing
