#include "openhost/dialogs/ScriptedSurface.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/text/Utf.h"

#include <memory>

namespace openhost {

namespace {

// The control `name` below `dialog`, other windows left out.
ZALDialog* FindBelow(const ZALDialog& dialog, const std::string& name)
{
    for (ZALDialog* child : ZALDialogNode::Of(dialog).children) {
        const ZALDialogNode& node = ZALDialogNode::Of(*child);
        if (node.ended || node.IsWindow())
            continue;
        if (node.Name() == name)
            return child;
        if (ZALDialog* found = FindBelow(*child, name))
            return found;
    }
    return nullptr;
}

template <class Condition>
ZALDialog* FindNewest(const std::string& name, Condition condition)
{
    const std::vector<ZALDialog*> live = LiveDialogs();
    for (auto dialog = live.rbegin(); dialog != live.rend(); ++dialog) {
        const ZALDialogNode& node = ZALDialogNode::Of(**dialog);
        if (node.Name() == name && condition(node))
            return *dialog;
    }
    return nullptr;
}

void UseCloseBox(ZALDialog& window)
{
    ZALDlgWindCloseNotification notification;
    DispatchCallbacks(&window, &notification);
}

} // namespace

const char* ToText(PushResult result)
{
    switch (result) {
    case PushResult::Done:
        return "done";
    case PushResult::NoDialog:
        return "no such dialog is shown";
    case PushResult::NoControl:
        return "the dialog has no such control";
    case PushResult::Insensitive:
        return "the control takes no input";
    }
    return "";
}

void ScriptedSurface::Answer(const std::string& dialog, int answer)
{
    answers_[dialog].push_back(answer);
}

PushResult ScriptedSurface::Push(const std::string& dialog, const std::string& control)
{
    ZALDialog* window = FindNewest(dialog, [](const ZALDialogNode& node) { return node.IsWindow() && node.visible; });
    if (!window)
        return PushResult::NoDialog;
    if (control != "CLOSE")
        return PushResult::NoControl;
    if (!ZALDialogNode::Of(*window).TakesInput())
        return PushResult::Insensitive;

    // The window outlives its callbacks, even when one of them runs the loop until it has ended.
    window->AddRef();
    UseCloseBox(*window);
    window->Release();
    return PushResult::Done;
}

ZALDialog* ScriptedSurface::Find(const std::string& name) const
{
    return FindNewest(name, [](const ZALDialogNode&) { return true; });
}

ZALDialog* ScriptedSurface::Find(const std::string& dialog, const std::string& control) const
{
    const ZALDialog* window = FindNewest(dialog, [](const ZALDialogNode& node) { return node.IsWindow(); });
    return window ? FindBelow(*window, control) : nullptr;
}

std::size_t ScriptedSurface::UnusedAnswers() const
{
    std::size_t count = 0;
    for (const auto& [dialog, queue] : answers_)
        count += queue.size();
    return count;
}

void ScriptedSurface::Shown(ZALDialog& dialog)
{
    Record(dialog, WindowEvent::Action::Shown);
}

void ScriptedSurface::Hidden(ZALDialog& dialog)
{
    Record(dialog, WindowEvent::Action::Hidden);
}

void ScriptedSurface::Changed(ZALDialog&) {}

void ScriptedSurface::Ended(ZALDialog& dialog)
{
    if (ZALDialogNode::Of(dialog).wasShown)
        Record(dialog, WindowEvent::Action::Ended);
}

int ScriptedSurface::Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title)
{
    const std::string name = question.GetName().CastToCharPtr();
    const ZALDialog* parent = question.GetFather();
    const std::size_t index = questions_.size();
    questions_.push_back(
        {name, question.GetStyle(), ToUtf8(title), ToUtf8(text), parent ? parent->GetName().CastToCharPtr() : "", -1});

    // Shared, since the loop may be left before the call has run.
    struct State {
        bool answered = false;
        bool withdrawn = false;
        int answer = ZALDlgAnswerClosed;
    };
    const auto state = std::make_shared<State>();
    EventLoop& loop = EventLoop::Current();
    loop.Post([this, state, name] {
        if (state->withdrawn)
            return;
        state->answer = TakeAnswer(name);
        state->answered = true;
    });
    loop.RunUntil([&] { return state->answered || ZALDialogNode::Of(question).ended; });
    state->withdrawn = !state->answered;

    questions_[index].answer = state->answer;
    return state->answer;
}

void ScriptedSurface::Record(const ZALDialog& dialog, WindowEvent::Action action)
{
    const ZALDialogNode& node = ZALDialogNode::Of(dialog);
    if (node.kind == ZALDialogNode::Kind::Window)
        windowEvents_.push_back({node.Name(), node.style, action});
}

int ScriptedSurface::TakeAnswer(const std::string& dialog)
{
    const auto queued = answers_.find(dialog);
    if (queued == answers_.end() || queued->second.empty())
        return ZALDlgAnswerClosed;
    const int answer = queued->second.front();
    queued->second.pop_front();
    return answer;
}

} // namespace openhost
