// The route of the bridge: another component of the host takes the download over.
//
//   1. The module asks it for the files of an item, under the identifier 1.
//   2. The component may ask the module to fetch addresses, under an identifier of its own, and
//   3. the module replies with the paths, by key, or with an error. Both any number of times.
//   4. The component replies to the first request, which ends the download.

#include "download/ZALVLIFullDownload.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/dialogs.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/JsonMembers.h"

#include <new>

using Notification = ZALVelmartFileDownloadCompleteNotification;

namespace {

const char* const MessageCatalog = "ZALVelmartFileDownloader";

/// Identifier of the request for files: one download is outstanding at a time.
constexpr std::int64_t DownloadRequestId = 1;
/// Error code by which the component leaves the download to the module.
constexpr std::int64_t FallBackCode = -1697450280;

// Error codes of the module's replies.
constexpr std::int32_t CanceledCode = -10;
constexpr std::int32_t FailedCode = -20;
constexpr std::int32_t UnknownMethodCode = -32601;

/// `message` goes in as it stands, without escaping, since the component takes it so.
ZALOmxUTF8String ErrorReply(std::int32_t code, const ZALUnicodeString& message, std::int64_t id)
{
    ZALOmxTextStream stream;
    stream << "{ \"error\" : {\"code\": " << code << ", \"message\" : \"" << message << "\"}, \"id\" : " << id << "}";
    return stream.ToUTF8String();
}

} // namespace

HRESULT ZALVelmartFileDownloader::StartDownloadFromTolva(const ZALOmxAny& request)
try {
    ZALOmxTextStream stream;
    ZALOmxJsonWriter writer(stream);
    writer.Object();
    writer.Attribute("method", "downloadQ7FilesFromTolva");
    writer.Attribute("id", DownloadRequestId);
    writer.Attribute("params");
    writer.Object();
    const ZALOmxAny attributes = MemberOf(request, "attributes");
    for (int index = 0; index < attributes.MapSize(); ++index) {
        ZALOmxKeyString key;
        ZALOmxAny value;
        attributes.MapGetAt(index, key, value);
        writer.Attribute(key, value);
    }
    writer.Attribute("id", MemberOf(request, "id"));
    writer.End();
    writer.End();

    ZALVelmartIntegrationEventSubscriber* const subscriber =
        ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber();
    if (!subscriber) {
        // No answer could arrive.
        NotifyDownloadError("");
        return S_OK;
    }

    // Before the message goes out, because the listener may answer inside the call. The function may outlive this
    // object.
    subscriber->SetMessageFunction([downloader = ZALBaseUnknown_WR(this)](const ZALOmxUTF8String& message) {
        if (const auto held = Held(downloader))
            held->OnVliSubscriberEventCB(message);
    });

    VL_TRACE("ZALVelmartFileDownloader : Send downloadQ7FilesFromTolva request");

    ZALVelmartIntegrationEventPublisher::DeliverMessage(stream.ToUTF8String());
    return S_OK;
} catch (const std::bad_alloc&) {
    NotifyLackOfMemory();
    return S_OK;
}

void ZALVelmartFileDownloader::NotifyDownloadError(const ZALUnicodeString& text)
{
    Tell(Notification(Notification::DownloadFailed, text));
}

void ZALVelmartFileDownloader::NotifyLackOfMemory()
{
    EndDownload(Notification(Notification::DownloadFailed));
}

ZALInterfaceHandle<ZALVelmartFileDownloader> ZALVelmartFileDownloader::Held(const ZALBaseUnknown_WR& downloader)
{
    return ZALInterfaceHandle<ZALVelmartFileDownloader>::Take(
        static_cast<ZALVelmartFileDownloader*>(downloader.GetComponent()));
}

// ---------------------------------------------------------------------------------------------
// Messages of the listener

void ZALVelmartFileDownloader::OnVliSubscriberEventCB(const ZALOmxUTF8String& message)
try {
    ZALOmxJson json;
    json.ActivateConsistentDoubleUnstream();
    ZALOmxAny value;
    if (FAILED(json.parse(message, value))) {
        NotifyDownloadError("");
        return;
    }

    std::int64_t id = -1;
    MemberOf(value, "id").GetInteger(id);

    ZALOmxUTF8String method;
    if (SUCCEEDED(MemberOf(value, "method").GetString(method))) {
        if (!(method == "downloadFilesFromVL")) {
            ZALVelmartIntegrationEventPublisher::DeliverMessage(ErrorReply(UnknownMethodCode, "Method not found", id));
            return;
        }
        VL_TRACE("ZALVelmartFileDownloader : Received downloadFilesFromVL request");
        OnDownloadRequest(value, id);
        return;
    }

    // Nothing else is expected here, so anything but our reply ends the download.
    if (id != DownloadRequestId) {
        NotifyDownloadError("");
        return;
    }

    ZALOmxAny error;
    if (SUCCEEDED(value.MapGetValue("error", error))) {
        VL_TRACE("ZALVelmartFileDownloader : Received downloadQ7FilesFromTolva error response");
        OnErrorReply(error);
        return;
    }

    ZALOmxAny result;
    if (SUCCEEDED(value.MapGetValue("result", result))) {
        VL_TRACE("ZALVelmartFileDownloader : Received downloadQ7FilesFromTolva success response");
        OnSuccessReply(result);
        return;
    }

    NotifyDownloadError("");
} catch (const std::bad_alloc&) {
    NotifyLackOfMemory();
}

void ZALVelmartFileDownloader::OnErrorReply(const ZALOmxAny& error)
{
    std::int64_t code = 0;
    if (FAILED(MemberOf(error, "code").GetInteger(code))) {
        NotifyDownloadError("");
        return;
    }

    if (code == FallBackCode) {
        // One that cannot start ends without a notification, as it does when the page starts it.
        StartDefaultDownload(DownloadRequest);
        return;
    }

    ZALUnicodeString text;
    MemberOf(error, "message").GetString(text);
    NotifyDownloadError(text);
}

void ZALVelmartFileDownloader::OnSuccessReply(const ZALOmxAny& result)
{
    ZALUnicodeString docEnvId = "UT5";
    MemberOf(result, "docEnvId").GetString(docEnvId);

    ZALOmxAny paths;
    if (FAILED(result.MapGetValue("downloadedQ7FilesPathes", paths))) {
        NotifyDownloadError("");
        return;
    }

    ZALListValZALUnicodeString files;
    for (int index = 1; index <= paths.ListSize(); ++index) {
        ZALOmxAny item;
        ZALUnicodeString path;
        if (SUCCEEDED(paths.ListGetAt(index, item)) && SUCCEEDED(item.GetString(path)))
            files.Append(path);
    }

    if (paths.ListSize() == 0 || files.Size() != paths.ListSize()) {
        NotifyDownloadError("");
        return;
    }

    Tell(Notification(files, docEnvId, Notification::DownloadSucceeded));
}

void ZALVelmartFileDownloader::OnDownloadRequest(const ZALOmxAny& request, std::int64_t id)
try {
    const ZALOmxAny params = MemberOf(request, "params");
    const ZALOmxAny downloadUrls = MemberOf(params, "downloadUrls");

    ZALUnicodeString folder;
    if (FAILED(MemberOf(params, "downloadDestPath").GetString(folder)))
        folder = ZALGetOfficialVariable("ZALTemp");

    std::vector<ZALVLIFullDownload::DownloadItem> items;
    for (int index = 0; index < downloadUrls.MapSize(); ++index) {
        ZALVLIFullDownload::DownloadItem item{folder, {}, {}};
        ZALOmxAny url;
        downloadUrls.MapGetAt(index, item.Key, url);
        item.Url = url.ConvertToUnicodeString();
        items.push_back(item);
    }

    // A transfer of the one before that still runs is given up, and gets no reply.
    FullDownload = ZALInterfaceHandle<ZALVLIFullDownload>::Take(new ZALVLIFullDownload(std::move(items)));

    FullDownload->Start(
        [downloader = ZALBaseUnknown_WR(this), id](ZALVLIFullDownload::Status status,
                                                   const std::vector<ZALVLIFullDownload::DownloadResult>& results) {
            if (const auto held = Held(downloader))
                held->SendDownloadFilesReply(id, status, results);
        });
} catch (const std::bad_alloc&) {
    // The component waits for a reply.
    SendDownloadFilesReply(id, Notification::DownloadFailed, {});
}

void ZALVelmartFileDownloader::SendDownloadFilesReply(std::int64_t id, ZALVLIFullDownload::Status status,
                                                      const std::vector<ZALVLIFullDownload::DownloadResult>& results)
try {
    ZALOmxUTF8String reply;
    if (status == Notification::DownloadSucceeded) {
        ZALOmxTextStream stream;
        ZALOmxJsonWriter writer(stream);
        writer.Object();
        writer.Attribute("id", id);
        writer.Attribute("result");
        writer.Object();
        writer.Attribute("downloadedFilesPathes");
        writer.Object();
        for (const ZALVLIFullDownload::DownloadResult& result : results) {
            writer.Attribute(result.Key);
            writer.List();
            for (const ZALUnicodeString& path : result.Pathes)
                writer.Item(path.ConvertToUTF8());
            writer.End();
        }
        writer.End();
        writer.End();
        writer.End();
        VL_TRACE("ZALVelmartFileDownloader : Send downloadFilesFromVL response");
        reply = stream.ToUTF8String();
    } else if (status == Notification::DownloadCanceled) {
        VL_TRACE("ZALVelmartFileDownloader : Send downloadFilesFromVL cancel response");
        reply = ErrorReply(
            CanceledCode,
            ZALMsgCatalog::BuildMessage(MessageCatalog, "DownloadCanceled", nullptr, 0, "Download Canceled"), id);
    } else {
        VL_TRACE("ZALVelmartFileDownloader : Send downloadFilesFromVL error response");
        reply = ErrorReply(FailedCode,
                           ZALMsgCatalog::BuildMessage(MessageCatalog, "DownloadFailed", nullptr, 0, "Download Failed"),
                           id);
    }
    ZALVelmartIntegrationEventPublisher::DeliverMessage(reply);
} catch (const std::bad_alloc&) {
    // The component waits in vain, and will not end the download.
    NotifyLackOfMemory();
}
