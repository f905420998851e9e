// The module's side of the browser panel: takes the page's messages and starts everything else.
#pragma once

#include "host/json.h"
#include "host/panel.h"
#include "insertion/PanelAction.h"
#include "objects/MetaClassOperations.h"

class ZALVelmartFileDownloader;

/// Whether the page's programming interface can be used.
enum OpApiStatus : std::int32_t {
    OpApiUnset = 0, ///< no page has reported yet
    OpApiReady = 1, ///< the page has reported that it is ready
    OpApiOver = 2,  ///< the page has left, or the panel shows another page
};

/// The addin of the panel. The host makes it by name and reaches it through ZALIMeridiaAccessDialogAddin. Used on
/// the user-interface thread.
class ZALVelmartMeridiaAccessAddin : public ZALEventSubscriber {
    VL_DECLARE_META_CLASS
public:
    /// Dispatched by the addin on itself when the status has changed; GetOpApiStatus tells the new one.
    class OpApiStatusChangeNotif : public ZALNotification {
        VL_DECLARE_META_CLASS
    public:
        OpApiStatusChangeNotif() : ZALNotification(0) {}
    };

    ZALVelmartMeridiaAccessAddin();
    ~ZALVelmartMeridiaAccessAddin() override;

    /// Keeps `dialog`, weakly; null leaves the panel of before. Always S_OK.
    HRESULT SetAccessDialog(ZALIMeridiaAccessDialog* dialog);
    /// Judges the page in the panel: injects the handlers script into one of the catalogue; any other one means that
    /// the catalogue has been left. Always S_OK.
    HRESULT OnPageUrl(const ZALUnicodeString& url);
    /// Does what the page's JSON message says. E_FAIL for a message that is none of the six, and without
    /// memory.
    HRESULT OnJSMessage(const ZALUnicodeString& message);

    OpApiStatus GetOpApiStatus() const { return _OpApiStatus; }
    /// The address for uploads that the page announced. E_FAIL when there is none, and without memory.
    HRESULT GetSearchByUploadUrl(ZALUnicodeString& url) const;
    /// Lets a page that is ready search for `query`; otherwise points the panel at `url`, which has a query part
    /// already, with the search added. E_FAIL without a panel or memory, or what running the script has given.
    HRESULT SearchByUpload(const ZALUnicodeString& url, const ZALUnicodeString& query);

private:
    HRESULT StartDownloadOf(const ZALOmxAny& content);
    HRESULT StartCommandWith(const ZALOmxAny& content);
    void ChangeOpApiStatus(OpApiStatus status);
    void ChangeFindSimilarHeaderAvailability(bool available);
    /// Both return when the user has closed the message, or at once when there is no memory for it.
    void NotifyErrorMessage(const ZALString& key);
    void ShowErrorText(const ZALUnicodeString& text);
    void OnWorkbenchChanged(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnFileDownloadComplete(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    ZALCallback _WorkbenchCallback = 0;
    ZALVelmartFileDownloader* _Downloader = nullptr; ///< the singleton, fetched at first need; not owned
    PanelAction _Action = {};                        ///< what the last message asked for; read when a download ends
    ZALBaseUnknown_WR _AccessDialog;
    OpApiStatus _OpApiStatus = OpApiUnset;
    ZALUnicodeString _SearchByUploadUrl;
};
