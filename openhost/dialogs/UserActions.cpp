#include "openhost/dialogs/UserActions.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"
#include "openhost/objects/Owned.h"

#include <vector>

namespace openhost {

namespace {

// Dispatches `notification` on `dialog`. Handlers belong to the control or to what it stands in: all of that outlives
// the callbacks, even when one of them runs the loop until it has ended.
void Tell(ZALDialog& dialog, ZALNotification&& notification)
{
    std::vector<Owned<ZALDialog>> held;
    for (ZALDialog* above = &dialog; above; above = above->GetFather())
        held.push_back(Share(above));
    DispatchCallbacks(&dialog, &notification);
}

} // namespace

void UseCloseBox(ZALDialog& window)
{
    if (ZALDialogNode::Of(window).kind == ZALDialogNode::Kind::FileBox)
        PushCancel(window);
    else
        Tell(window, ZALDlgWindCloseNotification());
}

void PushOK(ZALDialog& window)
{
    Tell(window, ZALDlgOKNotification());
}

void PushCancel(ZALDialog& window)
{
    Tell(window, ZALDlgCancelNotification());
}

void Activate(ZALDialog& button)
{
    Tell(button, ZALDlgPushActivateNotification());
}

void EnterText(ZALDialog& editor, const ZALUnicodeString& text)
{
    ZALDialogNode& node = ZALDialogNode::Of(editor);
    if (node.text == text)
        return;
    node.text = text;
    DialogSurface::Current().Changed(editor);
    Tell(editor, ZALDlgEditorModifyNotification());
}

void Check(ZALDialog& button, int state)
{
    ZALDialogNode& node = ZALDialogNode::Of(button);
    if (node.state == state)
        return;
    node.state = state;
    DialogSurface::Current().Changed(button);
    Tell(button, ZALDlgCheckModifyNotification());
}

void ChooseFolder(ZALDialog& box, const ZALUnicodeString& folder)
{
    ZALDialogNode::Of(box).text = folder;
    DialogSurface::Current().Changed(box);
}

} // namespace openhost
