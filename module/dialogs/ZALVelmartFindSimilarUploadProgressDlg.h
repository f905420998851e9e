// Shows that the upload of Find Similar is running.
#pragma once

#include "host/dialogs.h"
#include "objects/MetaClassOperations.h"

/// A window with a text and no button. Its owner ends it with RequestDelayedDestruction.
class ZALVelmartFindSimilarUploadProgressDlg : public ZALDlgDialog {
    VL_DECLARE_META_CLASS
public:
    /// Dispatched on the dialog each time the user closes the window; the window stays. Nobody subscribes to
    /// it: closing the window does not end the upload.
    class CANCELNotif : public ZALNotification {
        VL_DECLARE_META_CLASS
    };

    /// Makes and shows the dialog on the frame's application document. Null when either is missing,
    /// and without memory.
    static ZALVelmartFindSimilarUploadProgressDlg* Create();

    ~ZALVelmartFindSimilarUploadProgressDlg() override;

    ZALString GetResourceFilename(int index) const override;

private:
    friend class DialogProbe;

    explicit ZALVelmartFindSimilarUploadProgressDlg(ZALDialog* parent);
    void Build();
    void OnClose(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    [[maybe_unused]] ZALUnicodeString idleText; // keeps the layout; nothing reads or writes it
    ZALDlgLabel* progressLabel = nullptr;
};
