// The plain route: one GET into the temporary folder.

#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/frame.h"
#include "objects/Hold.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/Recorder.h"

#include <new>

using Notification = ZALVelmartFileDownloadCompleteNotification;

HRESULT ZALVelmartFileDownloader::StartDefaultDownloadURL(const ZALUnicodeString& url)
{
    if (HttpRequest)
        return E_FAIL;

    const auto giveUp = [this] {
        HttpRequest = {};
        DataHandler = {};
        return E_FAIL;
    };
    try {
        VL_TRACE("ZALVelmartFileDownloader::DownloadURL: " << url);

        HttpRequest = ZALInterfaceHandle<ZALCefHttpRequest>::Take(new ZALCefHttpRequest("GET", url));
        HttpRequest->GetHeaderMap().AddValue("Accept", "*/*");

        DataHandler = ZALInterfaceHandle<ZALVelmartDownloadDataHandler>::Take(
            new ZALVelmartDownloadDataHandler(this, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(
                                                        &ZALVelmartFileDownloader::OnDownloadRequestComplete)));
        DataHandler->SetProgressCallback(
            static_cast<ZALVelmartDownloadDataHandler::ProgressMethod>(&ZALVelmartFileDownloader::NotifyProgress));

        if (!HttpRequest->Send(DataHandler.Get()))
            return giveUp();
    } catch (const std::bad_alloc&) {
        return giveUp();
    }

    if (!ProgressDlg)
        ShowProgressDlg();

    PauseForRecorder();
    return S_OK;
}

void ZALVelmartFileDownloader::ShowProgressDlg()
try {
    // Held, because the host may end it with its parent before the transfer.
    ProgressDlg = Hold(ZALVelmartDownloadProgressDlg::Create());
    ListenToProgressDlg();
} catch (const std::bad_alloc&) {
    EndProgressDlg();
}

void ZALVelmartFileDownloader::ListenToProgressDlg()
{
    AddCallback(ProgressDlg.Get(), ZALVelmartDownloadProgressDlg::CANCELNotif::ClassName(),
                &ZALVelmartFileDownloader::OnCancelDownloadProgressDlg, nullptr);
}

void ZALVelmartFileDownloader::EndProgressDlg()
try {
    const auto dialog = std::exchange(ProgressDlg, {});
    if (!dialog)
        return;
    RemoveSubscriberCallbacks(dialog.Get());
    dialog->RequestDelayedDestruction();
} catch (const std::bad_alloc&) {
    // It stays with the host, which ends it with its parent.
}

void ZALVelmartFileDownloader::OnDownloadRequestComplete(const ZALUnicodeString& path)
{
    const int status = HttpRequest ? HttpRequest->GetStatus() : ZALHttpStatusFailed;

    // The path is the handler's, and may end with it.
    ZALUnicodeString file;
    bool copied = true;
    try {
        file = path;
    } catch (const std::bad_alloc&) {
        copied = false;
    }

    RemoveSubscriberCallbacks(HttpRequest.Get());
    HttpRequest = {};
    DataHandler = {};
    EndProgressDlg();

    if (status == ZALHttpStatusFailed || !copied) {
        EndDownload(Notification(Notification::DownloadFailed));
        return;
    }

    if (status == ZALHttpStatusCancelled) {
        EndDownload(Notification(Notification::DownloadCanceled));
        return;
    }

    try {
        if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
            frame->SetBusyCursor();
        DownloadedFilePath = file;

        ZALUnicodeString folder;
        GetValidDestinationFolderInSettings(folder);
        if (folder.GetLengthInChar() == 0)
            DisplayDestinationFolderChooserDlg();
        else
            FinishExtraction(file, folder);
    } catch (const std::bad_alloc&) {
        EndDownload(Notification(Notification::DownloadFailed));
    }
}

void ZALVelmartFileDownloader::NotifyProgress(std::int32_t percent)
try {
    if (ProgressDlg)
        ProgressDlg->UpdateProgress(percent);
} catch (const std::bad_alloc&) {
    // The bar stays where it is.
}

void ZALVelmartFileDownloader::OnCancelDownloadProgressDlg(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (!HttpRequest)
        return;

    try {
        if (ProgressDlg) {
            RemoveSubscriberCallbacks(ProgressDlg.Get());
            ProgressDlg->SetSensitivity(ZALDlgInsensitive);
        }

        HttpRequest->Cancel();
    } catch (const std::bad_alloc&) {
        // The user may try again.
        if (ProgressDlg) {
            ProgressDlg->SetSensitivity(ZALDlgSensitive);
            ListenToProgressDlg();
        }
    }
} catch (const std::bad_alloc&) {
    // The transfer goes on to its end.
}
