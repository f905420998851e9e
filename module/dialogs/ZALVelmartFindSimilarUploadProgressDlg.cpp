#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"

#include "dialogs/DialogOnDocument.h"

#include <new>

VL_DEFINE_META_CLASS(ZALVelmartFindSimilarUploadProgressDlg, ZALDlgDialog)
VL_DEFINE_META_CLASS(ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif, ZALNotification)

ZALVelmartFindSimilarUploadProgressDlg* ZALVelmartFindSimilarUploadProgressDlg::Create()
{
    return CreateOnDocument([](ZALDialog* parent) { return new ZALVelmartFindSimilarUploadProgressDlg(parent); },
                            &ZALVelmartFindSimilarUploadProgressDlg::Build);
}

ZALVelmartFindSimilarUploadProgressDlg::ZALVelmartFindSimilarUploadProgressDlg(ZALDialog* parent)
    : ZALDlgDialog(parent, "ZALVelmartFindSimilarUploadProgressDlg", ZALDlgProgressWindow)
{
}

ZALVelmartFindSimilarUploadProgressDlg::~ZALVelmartFindSimilarUploadProgressDlg() = default;

void ZALVelmartFindSimilarUploadProgressDlg::Build()
{
    AddCallback(this, ZALDlgWindCloseNotification::ClassName(), &ZALVelmartFindSimilarUploadProgressDlg::OnClose,
                nullptr);

    // The frame has the same name as the one of the download's dialog.
    auto* frame = new ZALDlgFrame(this, "VLDownloadProgressMainFrm", ZALDlgFrameWithoutTitle);
    Attach4Sides(frame);

    progressLabel = new ZALDlgLabel(frame, "VLProgressLabel", ZALDlgNoStyle);
    frame->Attach4Sides(progressLabel);

    SetVisibility(ZALDlgShow);
}

void ZALVelmartFindSimilarUploadProgressDlg::OnClose(ZALBaseUnknown*, ZALNotification*, void*)
try {
    CANCELNotif notification;
    DispatchCallbacks(this, &notification);
} catch (const std::bad_alloc&) {
    // The window stays, and can be closed again.
}

ZALString ZALVelmartFindSimilarUploadProgressDlg::GetResourceFilename(int index) const
try {
    return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : "ZALVelmartFindSimilarUploadProgressDlg";
} catch (const std::bad_alloc&) {
    return {};
}
