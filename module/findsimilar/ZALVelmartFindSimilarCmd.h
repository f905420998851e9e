// Searches the catalogue for shapes that are similar to the selected object.
#pragma once

#include "host/dialog_engine.h"
#include "host/http.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"

class ZALVelmartFindSimilarUploadProgressDlg;

/// The command of the header "ZALVelmartFindSimilarCmdHeader". Everything that needs no answer of the page or the
/// service happens in its constructor: the selection is written as a light file and uploaded, or the panel is brought
/// to the catalogue first. It ends itself by RequestDelayedDestruction.
class ZALVelmartFindSimilarCmd : public ZALCommand {
public:
    ZALVelmartFindSimilarCmd();
    ~ZALVelmartFindSimilarCmd() override;

    void RequestDelayedDestruction() override;

    /// Shows the user the message of `key`.
    static void NotifyErrorMessage(const ZALString& key);

private:
    friend class ZALVelmartFindSimilarCmdProbe;

    /// The command without its start. The public constructor delegates to it, so that the destructor runs when memory
    /// is out inside the start.
    explicit ZALVelmartFindSimilarCmd(ZALCommandMode mode);

    /// Writes the file of the upload. False when it is empty or too big, or cannot be written: the user has been told
    /// then.
    bool ExportSelection(ZALBaseUnknown* object);
    /// Uploads when the page is ready; otherwise brings the panel to the catalogue and waits for it.
    void StartSearch();
    /// Uploads to the address that `addin` knows. A command whose upload cannot start ends.
    void UploadTo(const ZALVelmartMeridiaAccessAddin& addin);
    void FindPartName(ZALBaseUnknown* object);
    void BuildVelmartURL();
    void FailWith(const ZALString& key);

    /// Writes the display of `object` into a zip file of the temporary folder, whose path is put into `zipPath`.
    /// E_FAIL, and `zipPath` as it was, for an object without a display and when the light file cannot be written;
    /// whether the zip file has come about is for the caller to check.
    HRESULT SaveAsTempLVR(ZALBaseUnknown* object, ZALUnicodeString& zipPath);

    /// Posts `filePath` to `uploadURL` under the name `partName`, and returns. E_INVALIDARG without a message for an
    /// empty path or address; E_FAIL, told to the user, when it cannot be sent or an upload is under way; E_FAIL
    /// without a message, and no upload, when memory is out.
    HRESULT UploadFileInVelmart(const ZALUnicodeString& filePath, const ZALUnicodeString& uploadURL,
                                const ZALUnicodeString& partName);
    void OnUploadRequestComplete(const std::vector<char>& reply);
    void SearchFor(const std::vector<char>& reply);
    static void ShowUploadProgress(ZALBaseUnknown* client, void* data);
    void RemoveProgressTimeOut();
    void EndProgressDialog();

    void OnOpApiStatusChange(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnPanelClosed(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    using Addin = ZALInterfaceHandle<ZALVelmartMeridiaAccessAddin>;
    /// The addin in `panel`; null when either is missing.
    static Addin GetAddinOf(const ZALIMeridiaAccessDialog_var& panel);

    ZALInterfaceHandle<ZALCefHttpRequest> uploadRequest; ///< the upload in flight
    ZALUnicodeString tempFilePath;                       ///< of the zip file
    ZALUnicodeString partName;                           ///< under which it is uploaded
    ZALUnicodeString velmartURL;                         ///< the page to be opened in the panel
    /// Held, because the host may end it with its parent before the upload.
    ZALInterfaceHandle<ZALVelmartFindSimilarUploadProgressDlg> progressDialog;

    /// The command that is alive. One that meets another clears it by its own end, without a comparison, so that the
    /// next one can start whatever became of the first.
    static ZALVelmartFindSimilarCmd* runningInstance;
};

/// Makes a command; null when there is no memory for it.
extern "C" ZALBaseUnknown* fctCreateZALVelmartFindSimilarCmd();
