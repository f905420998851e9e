// The one object through which every download of the module passes.
#pragma once

#include "download/ZALVLIFullDownload.h"
#include "download/ZALVelmartDownloadDataHandler.h"
#include "host/dialog_engine.h"
#include "host/json.h"
#include "objects/MetaClassOperations.h"
#include "templates/ZALVliTemplateSupportUtilities.h"

class ZALVelmartDownloadProgressDlg;
class ZALVelmartFileDownloadCompleteNotification;

/// Takes the description of a catalogue item, gets its files by one of four routes and tells the end in one
/// ZALVelmartFileDownloadCompleteNotification, dispatched on itself, possibly inside StartDownload. Whoever
/// starts a download subscribes first. Used on the user-interface thread.
///
/// Sources: dispatch and folder logic in ZALVelmartFileDownloader.cpp, the transfer in
/// ZALVelmartFileDownloaderTransfer.cpp, the archive in ZALVelmartFileDownloaderExtraction.cpp, the messages with
/// another component in ZALVelmartFileDownloaderBridge.cpp, the templates in ZALVelmartFileDownloaderTemplates.cpp.
class ZALVelmartFileDownloader : public ZALCommand {
    VL_DECLARE_META_CLASS
public:
    ~ZALVelmartFileDownloader() override;

    /// The one instance, made at the first call and released at module unload; null only if its creation
    /// failed. No reference is added.
    static ZALVelmartFileDownloader* GetInstance();
    /// Starts the download of the item `request`. S_OK: the route has started or ended, and the outcome comes
    /// as the notification. E_FAIL: no route could start, and no notification comes.
    HRESULT StartDownload(const ZALOmxAny& request);
    /// Keeps the template addresses that the page announced. Always S_OK.
    HRESULT SetTemplatesURLs(const ZALOmxAny& urls);

private:
    friend class ZALVelmartFileDownloaderProbe;

    ZALVelmartFileDownloader();

    /// Asks the environment for TemplateSupportEnabled.
    static void SettleTemplateSupport();
    HRESULT StartDefaultDownload(const ZALOmxAny& request);
    HRESULT StartDefaultDownloadURL(const ZALUnicodeString& url);
    HRESULT StartDownloadFromTolva(const ZALOmxAny& request);
    /// `folder` is not empty. E_FAIL, and no notification, for a request without an address. A failed transfer may
    /// bring two notifications.
    HRESULT StartDownloadAndApplyTemplates(const ZALOmxAny& request, const ZALUnicodeString& folder);

    /// S_OK when `folder` was delivered, otherwise S_FALSE, and `folder` is left alone.
    HRESULT GetValidDestinationFolderInSettings(ZALUnicodeString& folder);
    void DisplayDestinationFolderChooserDlg();
    /// Shows the location dialog, whose OK calls `onOK`. Without a place for the dialog nothing comes of it.
    void AskForFolder(void (ZALVelmartFileDownloader::*onOK)(ZALBaseUnknown*, ZALNotification*, void*));
    void OnDownloadLocationDlgOK(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnDownloadLocationDlgCANCEL(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnDownloadLocationForTemplateDlgOK(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    /// Shows the progress dialog of the running transfer, which goes on without one if need be.
    void ShowProgressDlg();
    void ListenToProgressDlg();
    void EndProgressDlg();
    void OnDownloadRequestComplete(const ZALUnicodeString& path);
    void NotifyProgress(std::int32_t percent);
    void OnCancelDownloadProgressDlg(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    /// `archive` is the caller's own: DownloadedFilePath may change while the overwrite question is up.
    void FinishExtraction(const ZALUnicodeString& archive, const ZALUnicodeString& folder);
    HRESULT CheckForExtractConflicts(const ZALUnicodeString& archive, const ZALUnicodeString& folder,
                                     bool& hasConflicts, bool& refused);

    /// Dispatches `notification`, which ends the download.
    void Tell(ZALVelmartFileDownloadCompleteNotification&& notification);
    /// The same, and when memory runs out inside, nothing else is told.
    void EndDownload(ZALVelmartFileDownloadCompleteNotification&& notification);
    /// Tells a failure, with `text` for the user.
    void NotifyDownloadError(const ZALUnicodeString& text);
    /// The same for a download that memory had no room for. Throws nothing.
    void NotifyLackOfMemory();
    /// The downloader `downloader` while it is there, otherwise null.
    static ZALInterfaceHandle<ZALVelmartFileDownloader> Held(const ZALBaseUnknown_WR& downloader);
    /// Receives all messages of the bridge.
    void OnVliSubscriberEventCB(const ZALOmxUTF8String& message);
    void OnErrorReply(const ZALOmxAny& error);
    void OnSuccessReply(const ZALOmxAny& result);
    void OnDownloadRequest(const ZALOmxAny& request, std::int64_t id);
    /// Replies to the request `id` of the listener.
    void SendDownloadFilesReply(std::int64_t id, ZALVLIFullDownload::Status status,
                                const std::vector<ZALVLIFullDownload::DownloadResult>& results);

    /// What the template route settles at its start.
    struct TemplateRoute {
        ZALUnicodeString RootFileName;
        ZALUnicodeString Folder;
        ZALUnicodeString PartTemplate;    ///< the file that is at hand; empty when it is to be fetched, or none
        ZALUnicodeString ProductTemplate; ///< the same
    };
    /// Tells the file `path` as the item's, which is not fetched again.
    void TellReuse(const ZALUnicodeString& path);
    /// The item itself at `url`, and the announced templates that are not at hand. Those that are go into `route`.
    std::vector<ZALVLIFullDownload::DownloadItem> ItemsToFetch(TemplateRoute& route, const ZALUnicodeString& url) const;
    /// Rebuilds what was fetched for `route`.
    void OnTemplateDownloadComplete(const TemplateRoute& route, ZALVLIFullDownload::Status status,
                                    const std::vector<ZALVLIFullDownload::DownloadResult>& results);

    /// Whether downloads are rebuilt on the user's templates: settled at the first default download of the
    /// process.
    static bool TemplateSupportEnabled;

    ZALOmxAny DownloadRequest;                                     ///< last argument of StartDownload
    ZALInterfaceHandle<ZALCefHttpRequest> HttpRequest;             ///< running; the busy marker of the plain route
    ZALInterfaceHandle<ZALVelmartDownloadDataHandler> DataHandler; ///< of that request
    ZALUnicodeString DownloadedFilePath;                           ///< kept for the location dialog
    ZALInterfaceHandle<ZALVelmartDownloadProgressDlg> ProgressDlg; ///< the host's; null when none is shown
    ZALInterfaceHandle<ZALVLIFullDownload> FullDownload;           ///< the last multi-file download
    ZALOmxAny TemplatesURLs;
};

/// The address of the item's file: `attributes.downloadUrls.ZALOR_RAW`, else `downloadUrl`, else `download`,
/// each only when it is a string. E_FAIL, and `url` left as it was, when there is none.
HRESULT GetDownloadURL(const ZALOmxAny& request, ZALUnicodeString& url);

/// Local path of a `file` URL, empty when it has none. The path has less than 4096 characters.
ZALUnicodeString ConvertFileURLToPath(const ZALUnicodeString& url);
