#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"
#include "openhost/dialogs/TextFile.h"
#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/objects/Owned.h"

#include <algorithm>

OPENHOST_META_CLASS(ZALDialog, ZALEventSubscriber)

namespace {

// Most resource files that are asked for one text: a list that never ends must not hang the host.
constexpr int MaximumResourceFiles = 32;

void WriteWindow(const ZALDialogNode& node, const char* action)
{
    if (node.IsLastingWindow())
        openhost::journal::Write(
            [&] { return openhost::journal::Window{.name = node.Name(), .style = node.style, .action = action}; });
}

void SetAttachment(ZALDialog& owner, bool vertical, int line, int type, std::initializer_list<ZALDialog*> controls)
{
    ZALDialogNode& node = ZALDialogNode::Of(owner);
    ZALDialogNode::AttachmentLine attachment{vertical, line, type, controls};
    std::erase_if(attachment.controls, [&](ZALDialog* control) { return !control || control->GetFather() != &owner; });
    std::erase_if(node.lines, [&](const ZALDialogNode::AttachmentLine& before) {
        return before.vertical == vertical && before.line == line;
    });
    node.lines.push_back(std::move(attachment));
    if (!node.ended)
        openhost::DialogSurface::Current().Changed(owner);
}

} // namespace

ZALDialog::ZALDialog(ZALDialog* parent, const ZALString& name, unsigned int style)
    : node_(ZALDialogNode::Make(*this, parent, name, style))
{
}

ZALDialog::~ZALDialog()
{
    node_->hostHolds = false;
    node_->End();
    node_->Leave();
    delete node_;
}

const ZALString& ZALDialog::GetName() const
{
    return node_->name;
}

unsigned int ZALDialog::GetStyle() const
{
    return node_->style;
}

ZALDialog* ZALDialog::GetFather() const
{
    return node_->parent;
}

void ZALDialog::SetVisibility(int visibility)
{
    if (node_->ended || (visibility != ZALDlgShow && visibility != ZALDlgHide))
        return;
    const bool show = visibility == ZALDlgShow;
    if (node_->visible == show)
        return;
    node_->visible = show;
    if (show) {
        node_->wasShown = true;
        openhost::DialogSurface::Current().Shown(*this);
    } else {
        openhost::DialogSurface::Current().Hidden(*this);
    }
    WriteWindow(*node_, show ? "shown" : "hidden");
}

void ZALDialog::SetSensitivity(int sensitivity)
{
    if (node_->ended || (sensitivity != ZALDlgSensitive && sensitivity != ZALDlgInsensitive))
        return;
    node_->sensitive = sensitivity == ZALDlgSensitive;
    openhost::DialogSurface::Current().Changed(*this);
}

void ZALDialog::SetTitle(const ZALUnicodeString& title)
{
    node_->title = title;
    node_->titleIsSet = true;
    if (!node_->ended)
        openhost::DialogSurface::Current().Changed(*this);
}

ZALUnicodeString ZALDialog::GetTitle() const
{
    if (node_->titleIsSet)
        return node_->title;
    const std::string key = node_->IsWindow() ? "Title" : node_->Name() + ".Title";
    for (int index = 0; index < MaximumResourceFiles; ++index) {
        const ZALString file = GetResourceFilename(index);
        if (file.GetLengthInChar() == 0)
            break;
        if (const auto text = openhost::FindText(openhost::TextKind::DialogResource, file.CastToCharPtr(), key))
            return *text;
    }
    return {};
}

void ZALDialog::SetRectDimensions(int x, int y, int height, int width)
{
    node_->hasRectangle = true;
    node_->x = x;
    node_->y = y;
    node_->height = std::max(height, 0);
    node_->width = std::max(width, 0);
    if (!node_->ended)
        openhost::DialogSurface::Current().Changed(*this);
}

void ZALDialog::Attach4Sides(ZALDialog* child)
{
    if (!child || child->node_->parent != this)
        return;
    if (std::find(node_->attached.begin(), node_->attached.end(), child) != node_->attached.end())
        return;
    node_->attached.push_back(child);
    if (!node_->ended)
        openhost::DialogSurface::Current().Changed(*this);
}

void ZALDialog::SetVerticalAttachment(int line, int type, std::initializer_list<ZALDialog*> controls)
{
    SetAttachment(*this, true, line, type, controls);
}

void ZALDialog::SetHorizontalAttachment(int line, int type, std::initializer_list<ZALDialog*> controls)
{
    SetAttachment(*this, false, line, type, controls);
}

void ZALDialog::SetGridConstraints(int row, int column, int rowSpan, int columnSpan, int justification)
{
    node_->place = {row, column, rowSpan, columnSpan, justification};
    if (!node_->ended)
        openhost::DialogSurface::Current().Changed(*this);
}

void ZALDialog::RequestDelayedDestruction()
{
    openhost::EventLoop::Current().Post([reference = ZALBaseUnknown_WR(this)] {
        if (const auto dialog = openhost::Lock<ZALDialog>(reference))
            dialog->node_->EndAndRelease();
    });
}

ZALString ZALDialog::GetResourceFilename(int index) const
{
    if (!node_->IsWindow() && node_->parent)
        return node_->parent->GetResourceFilename(index);
    return index == 0 ? node_->name : ZALString();
}
