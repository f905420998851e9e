#include "dialogs/ZALVelmartDownloadProgressDlg.h"

#include "dialogs/DialogOnDocument.h"
#include "host/dialog_engine.h"

#include <new>

VL_DEFINE_META_CLASS(ZALVelmartDownloadProgressDlg, ZALDlgDialog)
VL_DEFINE_META_CLASS(ZALVelmartDownloadProgressDlg::CANCELNotif, ZALNotification)

ZALVelmartDownloadProgressDlg* ZALVelmartDownloadProgressDlg::Create()
{
    return CreateOnDocument([](ZALDialog* parent) { return new ZALVelmartDownloadProgressDlg(parent); },
                            &ZALVelmartDownloadProgressDlg::Build);
}

ZALVelmartDownloadProgressDlg::ZALVelmartDownloadProgressDlg(ZALDialog* parent)
    : ZALDlgDialog(parent, "ZALVelmartDownloadProgressDlg", ZALDlgProgressWindow)
{
}

ZALVelmartDownloadProgressDlg::~ZALVelmartDownloadProgressDlg() = default;

void ZALVelmartDownloadProgressDlg::Build()
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

void ZALVelmartDownloadProgressDlg::UpdateProgress(std::int32_t percent)
try {
    if (progressBar)
        progressBar->SetPos(percent);
    if (auto* application = dynamic_cast<ZALInteractiveApplication*>(ZALApplication::MainApplication()))
        application->UpdateDisplay();
} catch (const std::bad_alloc&) {
    // The next update shows it.
}

void ZALVelmartDownloadProgressDlg::OnClose(ZALBaseUnknown*, ZALNotification*, void*)
try {
    CANCELNotif notification;
    DispatchCallbacks(this, &notification);
} catch (const std::bad_alloc&) {
    // The window stays, and can be closed again.
}

ZALString ZALVelmartDownloadProgressDlg::GetResourceFilename(int index) const
try {
    return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : "ZALVelmartDownloadProgressDlg";
} catch (const std::bad_alloc&) {
    return {};
}
