#include "dialogs/ZALVelmartDownloadProgressDlg.h"

#include "host/dialog_engine.h"
#include "host/frame.h"

VL_DEFINE_META_CLASS(ZALVelmartDownloadProgressDlg, ZALDlgDialog)
VL_DEFINE_META_CLASS(ZALVelmartDownloadProgressDlg::CANCELNotif, ZALNotification)

ZALVelmartDownloadProgressDlg* ZALVelmartDownloadProgressDlg::Create()
{
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr;
    return parent ? new ZALVelmartDownloadProgressDlg(parent) : nullptr;
}

ZALVelmartDownloadProgressDlg::ZALVelmartDownloadProgressDlg(ZALDialog* parent)
    : ZALDlgDialog(parent, "ZALVelmartDownloadProgressDlg", ZALDlgProgressWindow)
{
    AddCallback(this, ZALDlgWindCloseNotification::ClassName(), &ZALVelmartDownloadProgressDlg::OnClose, nullptr);

    auto* frame = new ZALDlgFrame(this, "VLDownloadProgressMainFrm", ZALDlgFrameWithoutTitle);
    Attach4Sides(frame);

    progressBar = new ZALDlgProgress(frame, "VLProgressBar", ZALDlgNoStyle);
    progressBar->SetRange(0, 100);
    progressBar->SetPos(0);
    progressBar->SetRectDimensions(0, 0, 15, 200);
    frame->Attach4Sides(progressBar);

    SetVisibility(ZALDlgShow);
}

ZALVelmartDownloadProgressDlg::~ZALVelmartDownloadProgressDlg() = default;

void ZALVelmartDownloadProgressDlg::UpdateProgress(std::int32_t percent)
{
    if (progressBar)
        progressBar->SetPos(percent);
    if (auto* application = dynamic_cast<ZALInteractiveApplication*>(ZALApplication::MainApplication()))
        application->UpdateDisplay();
}

void ZALVelmartDownloadProgressDlg::OnClose(ZALBaseUnknown*, ZALNotification*, void*)
{
    CANCELNotif notification;
    DispatchCallbacks(this, &notification);
}

ZALString ZALVelmartDownloadProgressDlg::GetResourceFilename(int index) const
{
    return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : "ZALVelmartDownloadProgressDlg";
}
