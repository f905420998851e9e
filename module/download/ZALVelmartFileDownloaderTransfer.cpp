// The plain route: one GET into the temporary folder.

#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/frame.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"

HRESULT ZALVelmartFileDownloader::StartDefaultDownloadURL(const ZALUnicodeString& url)
{
    if (HttpRequest)
        return E_FAIL;

    VL_TRACE("ZALVelmartFileDownloader::DownloadURL: " << url);

    HttpRequest = std::make_unique<ZALCefHttpRequest>("GET", url);
    HttpRequest->GetHeaderMap().AddValue("Accept", "*/*");

    DataHandler = new ZALVelmartDownloadDataHandler(this, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(
                                                              &ZALVelmartFileDownloader::OnDownloadRequestComplete));
    DataHandler->SetProgressCallback(
        static_cast<ZALVelmartDownloadDataHandler::ProgressMethod>(&ZALVelmartFileDownloader::NotifyProgress));

    if (!HttpRequest->Send(DataHandler)) {
        HttpRequest.reset();
        DataHandler->Release();
        DataHandler = nullptr;
        return E_FAIL;
    }

    if (!ProgressDlg) {
        ProgressDlg = ZALVelmartDownloadProgressDlg::Create();
        // Held, because the host may end it with its parent before the transfer.
        if (ProgressDlg)
            ProgressDlg->AddRef();
        AddCallback(ProgressDlg, ZALVelmartDownloadProgressDlg::CANCELNotif::ClassName(),
                    &ZALVelmartFileDownloader::OnCancelDownloadProgressDlg, nullptr);
    }

    if (const ZALRecord* recorder = ZALRecord::GetMain(); recorder && (recorder->IsCapture() || recorder->IsReplay()))
        ZALSleep(2000);

    return S_OK;
}

void ZALVelmartFileDownloader::OnDownloadRequestComplete(const ZALUnicodeString& path)
{
    const int status = HttpRequest ? HttpRequest->GetStatus() : ZALHttpStatusFailed;

    RemoveSubscriberCallbacks(HttpRequest.get());
    HttpRequest.reset();

    if (DataHandler) {
        DataHandler->Release();
        DataHandler = nullptr;
    }

    if (ProgressDlg) {
        RemoveSubscriberCallbacks(ProgressDlg);
        ProgressDlg->RequestDelayedDestruction();
        ProgressDlg->Release();
        ProgressDlg = nullptr;
    }

    if (status == ZALHttpStatusFailed) {
        ZALVelmartFileDownloadCompleteNotification notification(
            ZALVelmartFileDownloadCompleteNotification::DownloadFailed);
        DispatchCallbacks(this, &notification);
        return;
    }

    if (status == ZALHttpStatusCancelled) {
        ZALVelmartFileDownloadCompleteNotification notification(
            ZALVelmartFileDownloadCompleteNotification::DownloadCanceled);
        DispatchCallbacks(this, &notification);
        return;
    }

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();
    DownloadedFilePath = path;

    ZALUnicodeString folder;
    GetValidDestinationFolderInSettings(folder);
    if (folder.GetLengthInChar() == 0)
        DisplayDestinationFolderChooserDlg();
    else
        FinishExtraction(ZALUnicodeString(DownloadedFilePath), folder);
}

void ZALVelmartFileDownloader::NotifyProgress(std::int32_t percent)
{
    if (ProgressDlg)
        ProgressDlg->UpdateProgress(percent);
}

void ZALVelmartFileDownloader::OnCancelDownloadProgressDlg(ZALBaseUnknown*, ZALNotification*, void*)
{
    if (!HttpRequest)
        return;

    if (ProgressDlg) {
        RemoveSubscriberCallbacks(ProgressDlg);
        ProgressDlg->SetSensitivity(ZALDlgInsensitive);
    }

    HttpRequest->Cancel();
}
