#include "openhost/dialogs/DialogNode.h"
#include "openhost/objects/MetaClassOperations.h"

OPENHOST_META_CLASS(ZALDlgToolsOptionsFrame, ZALDialog)

// No picture is shown, and every page is laid out in a grid.
ZALDlgToolsOptionsFrame::ZALDlgToolsOptionsFrame(ZALDialog* parent, const ZALString& name, const ZALString&, int)
    : ZALDialog(parent, name, ZALDlgFrameWithoutTitle)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::Frame;
    if (!parent)
        return;
    content_ = new ZALDlgFrame(this, "ToolsOptionsContent", ZALDlgGridFrameWithoutTitle);
    Attach4Sides(content_);
}

ZALDlgToolsOptionsFrame::~ZALDlgToolsOptionsFrame() = default;
