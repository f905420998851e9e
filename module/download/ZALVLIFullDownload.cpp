#include "download/ZALVLIFullDownload.h"

#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "host/dialog_engine.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"

VL_DEFINE_META_CLASS(ZALVLIFullDownload, ZALBaseUnknown)

ZALVLIFullDownload::ZALVLIFullDownload(std::vector<DownloadItem> items) : Items(std::move(items)) {}

ZALVLIFullDownload::~ZALVLIFullDownload()
{
    HttpRequest.reset();
    // The dialog belongs to the host and is not ended here.
    if (ProgressDlg)
        ProgressDlg->Release();
}

void ZALVLIFullDownload::Start(DownloadCompleteCallback callback)
{
    CompleteCallback = std::move(callback);
    CurrentIndex = 0;

    if (!Items.empty() && SUCCEEDED(RequestNextFile(Items.front().Url)))
        return;

    EndProgressDlg();
    // Held during the call, which may put another download in this one's place.
    AddRef();
    CompleteCallback(ZALVelmartFileDownloadCompleteNotification::DownloadFailed, Results);
    Release();
}

HRESULT ZALVLIFullDownload::RequestNextFile(const ZALUnicodeString& url)
{
    HttpRequest = std::make_unique<ZALCefHttpRequest>("GET", url);
    HttpRequest->GetHeaderMap().AddValue("Accept", "*/*");

    auto* handler = new ZALVelmartDownloadDataHandler(
        this, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(&ZALVLIFullDownload::OnFileDownloaded));

    const bool sent = HttpRequest->Send(handler);

    if (sent && ShowProgress && !ProgressDlg) {
        ProgressDlg = ZALVelmartDownloadProgressDlg::Create();
        if (ProgressDlg) {
            // Held, because the host may end it with its parent before the transfers.
            ProgressDlg->AddRef();
            // Nothing here can be cancelled.
            ProgressDlg->SetSensitivity(ZALDlgInsensitive);
        }
    }

    if (const ZALRecord* recorder = ZALRecord::GetMain();
        sent && recorder && (recorder->IsCapture() || recorder->IsReplay()))
        ZALSleep(2000);

    handler->Release();
    return sent ? S_OK : E_FAIL;
}

void ZALVLIFullDownload::OnFileDownloaded(const ZALUnicodeString& path)
{
    const int status = HttpRequest ? HttpRequest->GetStatus() : ZALHttpStatusFailed;
    HttpRequest.reset();

    if (status == ZALHttpStatusFailed) {
        EndProgressDlg();
        CompleteCallback(ZALVelmartFileDownloadCompleteNotification::DownloadFailed, Results);
        return;
    }

    if (status == ZALHttpStatusCancelled) {
        EndProgressDlg();
        CompleteCallback(ZALVelmartFileDownloadCompleteNotification::DownloadCanceled, Results);
        return;
    }

    const DownloadItem& item = Items[static_cast<std::size_t>(CurrentIndex)];
    ZALListValZALUnicodeString files;

    const ZALUnicodeString extension = GetFileExtensionName(path);
    if (extension.Compare("zip") != ZALTextsDiffer) {
        // Without a question: what stands there is replaced.
        ExtractFiles(path, item.DestinationFolder, files);
    } else {
        ZALUnicodeString target = item.DestinationFolder;
        ZALMakePath(target, ZALUnicodeString(item.Key));
        if (extension.GetLengthInChar() > 0)
            target += "." + extension;
        if (target.Compare(path) == ZALTextsDiffer) {
            ZALDeleteFile(target);
            ZALRenameFile(path.ConvertToChar(), target.ConvertToChar());
        }
        VL_TRACE("Downloaded raw file : " << target);
        files.Append(target);
    }

    int rootIndex = -1;
    FindRootProduct(files, rootIndex);
    if (rootIndex > 1 && rootIndex <= files.Size())
        files.Swap(1, rootIndex);

    DownloadResult& result = Results.emplace_back();
    result.Key = item.Key;
    for (int index = 1; index <= files.Size(); ++index)
        result.Pathes.push_back(files[index]);

    ++CurrentIndex;

    if (ProgressDlg) {
        const float share = static_cast<float>(CurrentIndex) / static_cast<float>(Items.size());
        ProgressDlg->UpdateProgress(static_cast<std::int32_t>(share * 100));
    }

    if (static_cast<std::size_t>(CurrentIndex) < Items.size()) {
        // A request that cannot be sent here leaves the download without an end: this is meant.
        RequestNextFile(Items[static_cast<std::size_t>(CurrentIndex)].Url);
        return;
    }

    EndProgressDlg();
    CompleteCallback(ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded, Results);
}

void ZALVLIFullDownload::EndProgressDlg()
{
    if (!ProgressDlg)
        return;
    ProgressDlg->RequestDelayedDestruction();
    ProgressDlg->Release();
    ProgressDlg = nullptr;
}
