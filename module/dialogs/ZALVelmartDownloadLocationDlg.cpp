#include "dialogs/ZALVelmartDownloadLocationDlg.h"

VL_DEFINE_META_CLASS(ZALVelmartDownloadLocationDlg, ZALDlgDialog)
VL_DEFINE_META_CLASS(ZALVelmartDownloadLocationDlg::OKNotif, ZALNotification)
VL_DEFINE_META_CLASS(ZALVelmartDownloadLocationDlg::CANCELNotif, ZALNotification)

ZALVelmartDownloadLocationDlg::~ZALVelmartDownloadLocationDlg() = default;

ZALVelmartDownloadLocationDlg* ZALVelmartDownloadLocationDlg::Create()
{
    return nullptr;
}
