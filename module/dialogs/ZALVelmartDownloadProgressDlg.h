// Shows that a download is running.
#pragma once

#include "host/dialogs.h"
#include "objects/MetaClassOperations.h"

/// A window with a bar from 0 to 100 and no button. Its owner ends it with RequestDelayedDestruction.
class ZALVelmartDownloadProgressDlg : public ZALDlgDialog {
    VL_DECLARE_META_CLASS
public:
    /// Dispatched on the dialog each time the user closes the window; the window stays.
    class CANCELNotif : public ZALNotification {
        VL_DECLARE_META_CLASS
    };

    /// Makes and shows the dialog on the frame's application document. Null when either is missing,
    /// and without memory.
    static ZALVelmartDownloadProgressDlg* Create();

    ~ZALVelmartDownloadProgressDlg() override;

    /// Moves the bar to `percent` and repaints the display, also while the main thread is busy.
    void UpdateProgress(std::int32_t percent);
    ZALString GetResourceFilename(int index) const override;

private:
    friend class DialogProbe;

    explicit ZALVelmartDownloadProgressDlg(ZALDialog* parent);
    void Build();
    void OnClose(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    [[maybe_unused]] ZALUnicodeString idleText; // keeps the layout; nothing reads or writes it
    [[maybe_unused]] void* idlePointer = nullptr;
    ZALDlgProgress* progressBar = nullptr;
};
