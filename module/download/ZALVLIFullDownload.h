// A list of addresses, fetched one after the other.
#pragma once

#include "download/ZALVelmartDownloadDataHandler.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "host/json.h"

#include <functional>

class ZALVelmartDownloadProgressDlg;

/// Fetches each item into a folder of its own choosing: an archive is unpacked there, any other file is moved there
/// under the item's key. One transfer runs at a time. Whoever starts it holds a reference; a transfer that ends after
/// the object does nothing. Used on the user-interface thread.
class ZALVLIFullDownload : public ZALBaseUnknown {
    VL_DECLARE_META_CLASS
public:
    struct DownloadItem {
        ZALUnicodeString DestinationFolder;
        ZALUnicodeString Url;
        ZALOmxKeyString Key;
    };
    struct DownloadResult {
        ZALOmxKeyString Key;
        std::vector<ZALUnicodeString> Pathes; ///< the root document first
    };
    using Status = ZALVelmartFileDownloadCompleteNotification::Status;
    /// Takes the results of the items that are done, in their order. Valid during the call.
    using DownloadCompleteCallback = std::function<void(Status status, const std::vector<DownloadResult>& results)>;

    explicit ZALVLIFullDownload(std::vector<DownloadItem> items);
    ~ZALVLIFullDownload() override;

    /// Begins with the first item. `callback` is called once, when all items are done or one has failed: inside Start
    /// when there are no items or the first request cannot be sent, and never when a later one cannot be sent. Without
    /// memory the download has failed. The function may release the object.
    void Start(DownloadCompleteCallback callback);

private:
    friend class ZALVLIFullDownloadProbe;

    HRESULT RequestNextFile(const ZALUnicodeString& url);
    void OnFileDownloaded(const ZALUnicodeString& path);
    void EndProgressDlg();
    /// Ends the dialog and calls the function.
    void Complete(Status status);
    /// The same for a download that memory had no room for, whose transfer is given up.
    void CompleteWithoutMemory();
    /// Calls the function, unless it has been called.
    void CallCompleteCallback(Status status);

    std::vector<DownloadItem> Items;
    std::int32_t CurrentIndex = 0;                     ///< of the running item, from 0
    ZALInterfaceHandle<ZALCefHttpRequest> HttpRequest; ///< of the running item; null between items
    std::vector<DownloadResult> Results;
    DownloadCompleteCallback CompleteCallback; ///< empty once it has been called
    bool ShowProgress = true;
    ZALInterfaceHandle<ZALVelmartDownloadProgressDlg> ProgressDlg; ///< the host's; null when none is shown
};
