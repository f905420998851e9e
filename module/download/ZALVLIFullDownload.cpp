#include "download/ZALVLIFullDownload.h"

#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "objects/Hold.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/Recorder.h"

#include <new>
#include <utility>

VL_DEFINE_META_CLASS(ZALVLIFullDownload, ZALBaseUnknown)

ZALVLIFullDownload::ZALVLIFullDownload(std::vector<DownloadItem> items) : Items(std::move(items)) {}

ZALVLIFullDownload::~ZALVLIFullDownload()
{
    HttpRequest = {};
    // The dialog belongs to the host and is not ended here.
    ProgressDlg = {};
}

void ZALVLIFullDownload::Start(DownloadCompleteCallback callback)
{
    // Held meanwhile, because the function may put another download in this one's place.
    const auto held = Hold(this);
    CompleteCallback = std::move(callback);
    CurrentIndex = 0;
    try {
        if (Items.empty() || FAILED(RequestNextFile(Items.front().Url)))
            Complete(ZALVelmartFileDownloadCompleteNotification::DownloadFailed);
    } catch (const std::bad_alloc&) {
        CompleteWithoutMemory();
    }
}

HRESULT ZALVLIFullDownload::RequestNextFile(const ZALUnicodeString& url)
{
    HttpRequest = ZALInterfaceHandle<ZALCefHttpRequest>::Take(new ZALCefHttpRequest("GET", url));
    HttpRequest->GetHeaderMap().AddValue("Accept", "*/*");

    const auto handler = ZALInterfaceHandle<ZALVelmartDownloadDataHandler>::Take(new ZALVelmartDownloadDataHandler(
        this, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(&ZALVLIFullDownload::OnFileDownloaded)));

    if (!HttpRequest->Send(handler.Get()))
        return E_FAIL;

    if (ShowProgress && !ProgressDlg) {
        // Held, because the host may end it with its parent before the transfers.
        ProgressDlg = Hold(ZALVelmartDownloadProgressDlg::Create());
        // Nothing here can be cancelled.
        if (ProgressDlg)
            ProgressDlg->SetSensitivity(ZALDlgInsensitive);
    }

    PauseForRecorder();
    return S_OK;
}

void ZALVLIFullDownload::OnFileDownloaded(const ZALUnicodeString& path)
try {
    const int status = HttpRequest ? HttpRequest->GetStatus() : ZALHttpStatusFailed;
    // A copy, because `path` may end with the request.
    ZALUnicodeString file;
    file = path;
    HttpRequest = {};

    if (status == ZALHttpStatusFailed) {
        Complete(ZALVelmartFileDownloadCompleteNotification::DownloadFailed);
        return;
    }

    if (status == ZALHttpStatusCancelled) {
        Complete(ZALVelmartFileDownloadCompleteNotification::DownloadCanceled);
        return;
    }

    const DownloadItem& item = Items[static_cast<std::size_t>(CurrentIndex)];
    ZALListValZALUnicodeString files;

    const ZALUnicodeString extension = GetFileExtensionName(file);
    if (extension.Compare("zip") != ZALTextsDiffer) {
        // Without a question: what stands there is replaced.
        ExtractFiles(file, item.DestinationFolder, files);
    } else {
        ZALUnicodeString target = item.DestinationFolder;
        ZALMakePath(target, ZALUnicodeString(item.Key));
        if (extension.GetLengthInChar() > 0)
            target += "." + extension;
        if (target.Compare(file) == ZALTextsDiffer) {
            ZALDeleteFile(target);
            ZALRenameFile(file.ConvertToChar(), target.ConvertToChar());
        }
        VL_TRACE("Downloaded raw file : " << target);
        files.Append(target);
    }

    PutRootFirst(files);

    // A result is whole before it counts.
    DownloadResult result;
    result.Key = item.Key;
    for (int index = 1; index <= files.Size(); ++index)
        result.Pathes.push_back(files[index]);
    Results.push_back(std::move(result));

    ++CurrentIndex;

    if (ProgressDlg) {
        const float share = static_cast<float>(CurrentIndex) / static_cast<float>(Items.size());
        ProgressDlg->UpdateProgress(static_cast<std::int32_t>(share * 100));
    }

    if (static_cast<std::size_t>(CurrentIndex) < Items.size()) {
        // One that cannot be sent leaves the download without an end: whoever waits must not take a part for the whole.
        RequestNextFile(Items[static_cast<std::size_t>(CurrentIndex)].Url);
        return;
    }

    Complete(ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded);
} catch (const std::bad_alloc&) {
    CompleteWithoutMemory();
}

void ZALVLIFullDownload::EndProgressDlg()
{
    if (!ProgressDlg)
        return;
    ProgressDlg->RequestDelayedDestruction();
    ProgressDlg = {};
}

void ZALVLIFullDownload::Complete(Status status)
{
    EndProgressDlg();
    CallCompleteCallback(status);
}

void ZALVLIFullDownload::CompleteWithoutMemory()
{
    HttpRequest = {};
    try {
        EndProgressDlg();
    } catch (const std::bad_alloc&) {
        // It stays until the host ends it with its parent.
    }
    CallCompleteCallback(ZALVelmartFileDownloadCompleteNotification::DownloadFailed);
}

void ZALVLIFullDownload::CallCompleteCallback(Status status)
{
    if (const DownloadCompleteCallback callback = std::exchange(CompleteCallback, nullptr))
        callback(status, Results);
}
