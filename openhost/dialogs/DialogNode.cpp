#include "openhost/dialogs/DialogNode.h"

#include "openhost/dialogs/DialogSurface.h"
#include "openhost/journal/Events.h"

#include <algorithm>
#include <memory>

namespace {

// Never destroyed: objects of other libraries may end after the statics of this one.
std::vector<ZALDialog*>& AllDialogs()
{
    static auto& dialogs = *new std::vector<ZALDialog*>;
    return dialogs;
}

} // namespace

ZALDialogNode& ZALDialogNode::Of(const ZALDialog& dialog)
{
    return *dialog.node_;
}

ZALDialogNode* ZALDialogNode::Make(ZALDialog& owner, ZALDialog* parent, const ZALString& name, unsigned int style)
{
    auto node = std::make_unique<ZALDialogNode>();
    node->owner = &owner;
    node->parent = parent;
    node->name = name;
    node->style = style;
    AllDialogs().push_back(&owner);
    if (parent) {
        try {
            Of(*parent).children.push_back(&owner);
        } catch (...) {
            AllDialogs().pop_back();
            throw;
        }
        node->ended = Of(*parent).ended;
    }
    return node.release();
}

bool ZALDialogNode::TakesInput() const
{
    for (const ZALDialogNode* node = this; node; node = node->parent ? &Of(*node->parent) : nullptr) {
        if (!node->sensitive || node->ended)
            return false;
        if (node->IsWindow())
            return true;
    }
    return true;
}

void ZALDialogNode::End()
{
    if (ended)
        return;
    ended = true;
    for (ZALDialog* child : children)
        Of(*child).End();
    visible = false;
    openhost::DialogSurface::Current().Ended(*owner);
    if (IsLastingWindow() && wasShown)
        openhost::journal::Write(
            [this] { return openhost::journal::Window{.name = Name(), .style = style, .action = "ended"}; });
}

void ZALDialogNode::LeaveParent()
{
    if (!parent)
        return;
    ZALDialogNode& above = Of(*parent);
    std::erase(above.children, owner);
    std::erase(above.attached, owner);
    for (AttachmentLine& line : above.lines)
        std::erase(line.controls, owner);
    parent = nullptr;
}

void ZALDialogNode::Leave()
{
    LeaveParent();
    attached.clear();
    lines.clear();
    while (!children.empty()) {
        ZALDialogNode& child = Of(*children.back());
        children.pop_back();
        child.parent = nullptr;
        child.EndAndRelease();
    }
    std::erase(AllDialogs(), owner);
}

void ZALDialogNode::EndAndRelease()
{
    End();
    if (std::exchange(hostHolds, false))
        owner->Release();
}

void ZALDialogNode::StayWithoutParent()
{
    LeaveParent();
    if (!std::exchange(hostHolds, true))
        owner->AddRef();
}

namespace openhost {

std::vector<ZALDialog*> LiveDialogs()
{
    std::vector<ZALDialog*> live;
    std::copy_if(AllDialogs().begin(), AllDialogs().end(), std::back_inserter(live),
                 [](const ZALDialog* dialog) { return !ZALDialogNode::Of(*dialog).ended; });
    return live;
}

void EndAllDialogs()
{
    for (;;) {
        const auto& all = AllDialogs();
        const auto held = std::find_if(all.begin(), all.end(), [](const ZALDialog* dialog) {
            const ZALDialogNode& node = ZALDialogNode::Of(*dialog);
            return !node.parent && node.hostHolds;
        });
        if (held == all.end())
            return;
        ZALDialogNode::Of(**held).EndAndRelease();
    }
}

} // namespace openhost
