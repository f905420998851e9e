// A downloader of a test's own, with its inner operations and state in reach.
#pragma once

#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "download/ZALVelmartFileDownloader.h"

#include <utility>

/// Owns a fresh downloader, not the one of the process. What a call does is told at ZALVelmartFileDownloader.
class ZALVelmartFileDownloaderProbe {
public:
    ZALVelmartFileDownloaderProbe() : downloader_(new ZALVelmartFileDownloader) {}
    ZALVelmartFileDownloaderProbe(const ZALVelmartFileDownloaderProbe&) = delete;
    ZALVelmartFileDownloaderProbe& operator=(const ZALVelmartFileDownloaderProbe&) = delete;
    ~ZALVelmartFileDownloaderProbe() { EndDownloader(); }

    ZALVelmartFileDownloader& Downloader() { return *downloader_; }
    /// Drops the downloader. Nothing else of the probe may be used then.
    void EndDownloader()
    {
        if (ZALVelmartFileDownloader* ending = std::exchange(downloader_, nullptr))
            ending->Release();
    }

    HRESULT StartDefaultDownload(const ZALOmxAny& request) { return downloader_->StartDefaultDownload(request); }
    HRESULT StartDefaultDownloadURL(const ZALUnicodeString& url) { return downloader_->StartDefaultDownloadURL(url); }
    HRESULT GetValidDestinationFolderInSettings(ZALUnicodeString& folder)
    {
        return downloader_->GetValidDestinationFolderInSettings(folder);
    }
    void OnDownloadLocationDlgOK() { downloader_->OnDownloadLocationDlgOK(nullptr, nullptr, nullptr); }
    void OnDownloadLocationDlgCANCEL() { downloader_->OnDownloadLocationDlgCANCEL(nullptr, nullptr, nullptr); }
    void OnDownloadLocationForTemplateDlgOK()
    {
        downloader_->OnDownloadLocationForTemplateDlgOK(nullptr, nullptr, nullptr);
    }
    void OnDownloadRequestComplete(const ZALUnicodeString& path) { downloader_->OnDownloadRequestComplete(path); }
    void OnCancelDownloadProgressDlg() { downloader_->OnCancelDownloadProgressDlg(nullptr, nullptr, nullptr); }
    void FinishExtraction(const ZALUnicodeString& archive, const ZALUnicodeString& folder)
    {
        downloader_->FinishExtraction(archive, folder);
    }
    HRESULT CheckForExtractConflicts(const ZALUnicodeString& archive, const ZALUnicodeString& folder,
                                     bool& hasConflicts, bool& refused)
    {
        return downloader_->CheckForExtractConflicts(archive, folder, hasConflicts, refused);
    }

    static bool TemplateSupport() { return ZALVelmartFileDownloader::TemplateSupportEnabled; }
    static void SetTemplateSupport(bool on) { ZALVelmartFileDownloader::TemplateSupportEnabled = on; }

    const ZALOmxAny& DownloadRequest() const { return downloader_->DownloadRequest; }
    void SetDownloadRequest(const ZALOmxAny& request) { downloader_->DownloadRequest = request; }
    const ZALCefHttpRequest* HttpRequest() const { return downloader_->HttpRequest.Get(); }
    const ZALVelmartDownloadDataHandler* DataHandler() const { return downloader_->DataHandler.Get(); }
    const ZALUnicodeString& DownloadedFilePath() const { return downloader_->DownloadedFilePath; }
    void SetDownloadedFilePath(const ZALUnicodeString& path) { downloader_->DownloadedFilePath = path; }
    const ZALVelmartDownloadProgressDlg* ProgressDlg() const { return downloader_->ProgressDlg.Get(); }
    ZALVLIFullDownload* FullDownload() const { return downloader_->FullDownload.Get(); }
    HRESULT StartDownloadFromTolva(const ZALOmxAny& request) { return downloader_->StartDownloadFromTolva(request); }
    void OnVliSubscriberEventCB(const ZALOmxUTF8String& message) { downloader_->OnVliSubscriberEventCB(message); }
    HRESULT StartDownloadAndApplyTemplates(const ZALOmxAny& request, const ZALUnicodeString& folder)
    {
        return downloader_->StartDownloadAndApplyTemplates(request, folder);
    }

private:
    ZALVelmartFileDownloader* downloader_;
};
