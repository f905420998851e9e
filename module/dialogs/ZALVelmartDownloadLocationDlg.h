// Asks the user for the folder of downloads.
#pragma once

#include "host/dialogs.h"
#include "objects/MetaClassOperations.h"

/// The location dialog. It stores the user's folder in the settings, then reports OK or cancel by a
/// notification on itself, and asks for its own end.
class ZALVelmartDownloadLocationDlg : public ZALDlgDialog {
    VL_DECLARE_META_CLASS
public:
    /// The user has chosen; the folder stands in the settings.
    class OKNotif : public ZALNotification {
        VL_DECLARE_META_CLASS
    };

    /// The user has given up, by the button or by closing the window.
    class CANCELNotif : public ZALNotification {
        VL_DECLARE_META_CLASS
    };

    /// Makes the dialog on the frame's application document and shows it. Null, and no notification comes, when either
    /// is missing, and without memory.
    static ZALVelmartDownloadLocationDlg* Create();
    /// Whether `text` names a directory; tells the user on `parent` when it does not. False without
    /// memory.
    static bool IsValidDirectory(ZALDialog* parent, const ZALUnicodeString& text);
    /// What a browse button of `owner` does: shows `chooser`, in the folder that `editor` names if it names one. The
    /// chooser is made at the first use, with `title`, and its OK and CANCEL go to the two methods of `owner`.
    static void ShowDirectoryChooser(ZALDialog* owner, ZALInterfaceHandle<ZALDlgFileBox>& chooser,
                                     const ZALUnicodeString& title, const ZALDlgEditor* editor,
                                     ZALSubscriberMethod onOK, ZALSubscriberMethod onCancel);

    ~ZALVelmartDownloadLocationDlg() override;

    /// Ends the folder chooser as well.
    void RequestDelayedDestruction() override;
    ZALString GetResourceFilename(int index) const override;

private:
    friend class DialogProbe;

    explicit ZALVelmartDownloadLocationDlg(ZALDialog* parent);
    void Build();
    void BuildControls();
    /// What is stored, insensitive where an administrator has locked it.
    void ShowSettings();

    void OnOK(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnCancel(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnModify(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnBrowse(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnDirectoryChooserOK(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnDirectoryChooserCancel(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    ZALInterfaceHandle<ZALDlgFileBox> directoryChooser;
    ZALDlgEditor* locationEditor = nullptr;
    ZALDlgCheckButton* doNotRemindCheck = nullptr;
};
