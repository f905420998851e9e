// Asks the user for the folder of downloads.
#pragma once

#include "events/MetaClassOperations.h"
#include "host/dialogs.h"

/// The location dialog. It stores the user's folder in the settings, then reports OK or cancel by a
/// notification on itself.
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

    /// Makes and shows the dialog. Null when it cannot be shown; no notification comes then.
    static ZALVelmartDownloadLocationDlg* Create();

    ~ZALVelmartDownloadLocationDlg() override;
};
