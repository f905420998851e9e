// The controls that stand in a window.

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"
#include "openhost/journal/Journal.h"

#include <algorithm>

namespace {

std::string WindowName(const ZALDialog& control)
{
    const ZALDialog* dialog = &control;
    while (dialog->GetFather() && !ZALDialogNode::Of(*dialog).IsWindow())
        dialog = dialog->GetFather();
    return dialog->GetName().CastToCharPtr();
}

} // namespace

ZALDlgFrame::ZALDlgFrame(ZALDialog* parent, const ZALString& name, unsigned int style) : ZALDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::Frame;
}

ZALDlgFrame::~ZALDlgFrame() = default;

ZALDlgLabel::ZALDlgLabel(ZALDialog* parent, const ZALString& name, unsigned int style) : ZALDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::Label;
}

ZALDlgLabel::~ZALDlgLabel() = default;

// ---------------------------------------------------------------------------------------------
// Progress bar

ZALDlgProgress::ZALDlgProgress(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::Progress;
}

ZALDlgProgress::~ZALDlgProgress() = default;

void ZALDlgProgress::SetRange(int minimum, int maximum)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.minimum = minimum;
    node.maximum = std::max(minimum, maximum);
    node.position = std::clamp(node.position, node.minimum, node.maximum);
    if (!node.ended)
        openhost::DialogSurface::Current().Changed(*this);
}

void ZALDlgProgress::SetPos(int position)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.position = std::clamp(position, node.minimum, node.maximum);
    if (node.ended)
        return;
    openhost::DialogSurface::Current().Changed(*this);
    openhost::journal::Write("progress",
                             {{"dialog", WindowName(*this)}, {"control", node.Name()}, {"position", node.position}});
}

int ZALDlgProgress::GetPos() const
{
    return ZALDialogNode::Of(*this).position;
}
