#include "openhost/dialogs/DialogNode.h"
#include "openhost/objects/MetaClassOperations.h"

OPENHOST_META_CLASS(ZALDlgToolsOptionsFrame, ZALDialog)

// No picture is shown, and every page is laid out in a grid.
ZALDlgToolsOptionsFrame::ZALDlgToolsOptionsFrame(ZALDialog* parent, const ZALString& name, const ZALString& icon,
                                                 int layout)
    : ZALDialog(parent, name, ZALDlgFrameWithoutTitle)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.kind = ZALDialogNode::Kind::Frame;
    node.icon = icon;
    node.layout = layout;
    if (!parent)
        return;
    content_ = new ZALDlgFrame(this, "ToolsOptionsContent", ZALDlgGridFrameWithoutTitle);
    Attach4Sides(content_);
}

ZALDlgToolsOptionsFrame::~ZALDlgToolsOptionsFrame() = default;
