#include "openhost/dialogs/DialogNode.h"
#include "openhost/objects/MetaClassOperations.h"

OPENHOST_META_CLASS(ZALDlgDialog, ZALDialog)
OPENHOST_META_CLASS(ZALDlgWindCloseNotification, ZALNotification)
OPENHOST_META_CLASS(ZALDlgOKNotification, ZALNotification)
OPENHOST_META_CLASS(ZALDlgCancelNotification, ZALNotification)

ZALDlgDialog::ZALDlgDialog(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDialog(parent, name, style)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.kind = ZALDialogNode::Kind::Window;
    node.visible = false;
}

ZALDlgDialog::~ZALDlgDialog() = default;

ZALDlgWindCloseNotification::ZALDlgWindCloseNotification() = default;

ZALDlgWindCloseNotification::~ZALDlgWindCloseNotification() = default;

ZALDlgOKNotification::ZALDlgOKNotification() = default;

ZALDlgOKNotification::~ZALDlgOKNotification() = default;

ZALDlgCancelNotification::ZALDlgCancelNotification() = default;

ZALDlgCancelNotification::~ZALDlgCancelNotification() = default;
