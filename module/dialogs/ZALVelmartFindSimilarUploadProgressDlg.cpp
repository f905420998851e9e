#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"

#include "host/frame.h"

VL_DEFINE_META_CLASS(ZALVelmartFindSimilarUploadProgressDlg, ZALDlgDialog)
VL_DEFINE_META_CLASS(ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif, ZALNotification)

ZALVelmartFindSimilarUploadProgressDlg* ZALVelmartFindSimilarUploadProgressDlg::Create()
{
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr;
    return parent ? new ZALVelmartFindSimilarUploadProgressDlg(parent) : nullptr;
}

ZALVelmartFindSimilarUploadProgressDlg::ZALVelmartFindSimilarUploadProgressDlg(ZALDialog* parent)
    : ZALDlgDialog(parent, "ZALVelmartFindSimilarUploadProgressDlg", ZALDlgProgressWindow)
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

ZALVelmartFindSimilarUploadProgressDlg::~ZALVelmartFindSimilarUploadProgressDlg() = default;

void ZALVelmartFindSimilarUploadProgressDlg::OnClose(ZALBaseUnknown*, ZALNotification*, void*)
{
    CANCELNotif notification;
    DispatchCallbacks(this, &notification);
}

ZALString ZALVelmartFindSimilarUploadProgressDlg::GetResourceFilename(int index) const
{
    return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : "ZALVelmartFindSimilarUploadProgressDlg";
}
