// The controls that stand in a window.

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"
#include "openhost/journal/Events.h"
#include "openhost/objects/MetaClassOperations.h"

#include "host/settings.h"

#include <algorithm>

OPENHOST_META_CLASS(ZALDlgEditorModifyNotification, ZALNotification)
OPENHOST_META_CLASS(ZALDlgPushActivateNotification, ZALNotification)
OPENHOST_META_CLASS(ZALDlgCheckModifyNotification, ZALNotification)

namespace {

void TellChange(ZALDialog& control)
{
    if (!ZALDialogNode::Of(control).ended)
        openhost::DialogSurface::Current().Changed(control);
}

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
    TellChange(*this);
}

void ZALDlgProgress::SetPos(int position)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.position = std::clamp(position, node.minimum, node.maximum);
    if (node.ended)
        return;
    openhost::DialogSurface::Current().Changed(*this);
    openhost::journal::Write([&] {
        return openhost::journal::Progress{
            .dialog = WindowName(*this), .control = node.Name(), .position = node.position};
    });
}

int ZALDlgProgress::GetPos() const
{
    return ZALDialogNode::Of(*this).position;
}

// ---------------------------------------------------------------------------------------------
// Editor

ZALDlgEditor::ZALDlgEditor(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::Editor;
}

ZALDlgEditor::~ZALDlgEditor() = default;

ZALUnicodeString ZALDlgEditor::GetText() const
{
    return ZALDialogNode::Of(*this).text;
}

void ZALDlgEditor::SetText(const ZALUnicodeString& text)
{
    ZALDialogNode::Of(*this).text = text;
    TellChange(*this);
}

void ZALDlgEditor::SetVisibleTextWidth(int characters)
{
    ZALDialogNode::Of(*this).visibleTextWidth = std::max(characters, 0);
    TellChange(*this);
}

ZALDlgEditorModifyNotification::ZALDlgEditorModifyNotification() = default;

ZALDlgEditorModifyNotification::~ZALDlgEditorModifyNotification() = default;

// ---------------------------------------------------------------------------------------------
// Buttons

ZALDlgPushButton::ZALDlgPushButton(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::PushButton;
}

ZALDlgPushButton::~ZALDlgPushButton() = default;

ZALDlgPushActivateNotification::ZALDlgPushActivateNotification() = default;

ZALDlgPushActivateNotification::~ZALDlgPushActivateNotification() = default;

ZALDlgCheckButton::ZALDlgCheckButton(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::CheckButton;
}

ZALDlgCheckButton::~ZALDlgCheckButton() = default;

int ZALDlgCheckButton::GetState() const
{
    return ZALDialogNode::Of(*this).state;
}

void ZALDlgCheckButton::SetState(int state)
{
    if (state != ZALDlgChecked && state != ZALDlgUnchecked)
        return;
    ZALDialogNode::Of(*this).state = state;
    TellChange(*this);
}

ZALDlgCheckModifyNotification::ZALDlgCheckModifyNotification() = default;

ZALDlgCheckModifyNotification::~ZALDlgCheckModifyNotification() = default;

// ---------------------------------------------------------------------------------------------
// Lock

ZALDlgLock::ZALDlgLock(ZALDialog* parent, const ZALString& name, const ZALSettingInfo& info)
    : ZALDialog(parent, name, ZALDlgNoStyle)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.kind = ZALDialogNode::Kind::Lock;
    char lock = '-';
    node.locked = SUCCEEDED(info.GetLock(lock)) && (lock == 'R' || lock == 'r');
}

ZALDlgLock::~ZALDlgLock() = default;

void ZALDlgLock::AddAssociatedDialog(ZALDialog* dialog)
{
    if (dialog && ZALDialogNode::Of(*this).locked)
        dialog->SetSensitivity(ZALDlgInsensitive);
}
