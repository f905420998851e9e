#include "openhost/dialogs/ScriptedSurface.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/UserActions.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <initializer_list>
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

ZALDialog* FindShown(const std::string& window)
{
    return FindNewest(window, [](const ZALDialogNode& node) { return node.IsWindow() && node.visible; });
}

bool IsOneOf(const std::string& name, std::initializer_list<const char*> names)
{
    return std::ranges::find(names, name) != names.end();
}

PushResult PushPartOf(ZALDialog& window, const std::string& part)
{
    const ZALDialogNode& node = ZALDialogNode::Of(window);
    if (part != "CLOSE" && !node.HasOKAndCancel())
        return PushResult::NoControl;
    // A file box offers OK only with a choice.
    const bool lacksChoice = node.kind == ZALDialogNode::Kind::FileBox && node.text.GetLengthInChar() == 0;
    if (!node.TakesInput() || (part == "OK" && lacksChoice))
        return PushResult::Insensitive;

    if (part == "CLOSE")
        UseCloseBox(window);
    else if (part == "OK")
        PushOK(window);
    else
        PushCancel(window);
    return PushResult::Done;
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
    case PushResult::NoText:
        return "the control takes no text";
    case PushResult::NoState:
        return "the control has no state";
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
    ZALDialog* window = FindShown(dialog);
    if (!window)
        return PushResult::NoDialog;
    if (IsOneOf(control, {"CLOSE", "OK", "CANCEL"}))
        return PushPartOf(*window, control);

    ZALDialog* target = FindBelow(*window, control);
    using Kind = ZALDialogNode::Kind;
    const Kind kind = target ? ZALDialogNode::Of(*target).kind : Kind::Other;
    if (kind != Kind::PushButton && kind != Kind::CheckButton)
        return PushResult::NoControl;
    const ZALDialogNode& node = ZALDialogNode::Of(*target);
    if (!node.TakesInput())
        return PushResult::Insensitive;
    if (kind == Kind::PushButton)
        Activate(*target);
    else
        Check(*target, node.state == ZALDlgChecked ? ZALDlgUnchecked : ZALDlgChecked);
    return PushResult::Done;
}

PushResult ScriptedSurface::EnterText(const std::string& dialog, const std::string& control,
                                      const ZALUnicodeString& text)
{
    ZALDialog* window = FindShown(dialog);
    if (!window)
        return PushResult::NoDialog;
    const bool isChoice = ZALDialogNode::Of(*window).kind == ZALDialogNode::Kind::FileBox && control == "FOLDER";
    ZALDialog* target = isChoice ? window : FindBelow(*window, control);
    if (!target)
        return PushResult::NoControl;
    const ZALDialogNode& node = ZALDialogNode::Of(*target);
    if (!isChoice && node.kind != ZALDialogNode::Kind::Editor)
        return PushResult::NoText;
    if (!node.TakesInput())
        return PushResult::Insensitive;
    if (isChoice)
        ChooseFolder(*target, text);
    else
        openhost::EnterText(*target, text);
    return PushResult::Done;
}

PushResult ScriptedSurface::SetState(const std::string& dialog, const std::string& control, int state)
{
    ZALDialog* window = FindShown(dialog);
    if (!window)
        return PushResult::NoDialog;
    ZALDialog* target = FindBelow(*window, control);
    if (!target)
        return PushResult::NoControl;
    const ZALDialogNode& node = ZALDialogNode::Of(*target);
    if (node.kind != ZALDialogNode::Kind::CheckButton || (state != ZALDlgChecked && state != ZALDlgUnchecked))
        return PushResult::NoState;
    if (!node.TakesInput())
        return PushResult::Insensitive;
    Check(*target, state);
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

void ScriptedSurface::ShowOn(std::unique_ptr<DialogSurface> display)
{
    display_ = std::move(display);
}

void ScriptedSurface::Shown(ZALDialog& dialog)
{
    Record(dialog, WindowEvent::Action::Shown);
    if (display_)
        display_->Shown(dialog);
}

void ScriptedSurface::Hidden(ZALDialog& dialog)
{
    Record(dialog, WindowEvent::Action::Hidden);
    if (display_)
        display_->Hidden(dialog);
}

void ScriptedSurface::Changed(ZALDialog& dialog)
{
    if (display_)
        display_->Changed(dialog);
}

void ScriptedSurface::Ended(ZALDialog& dialog)
{
    if (ZALDialogNode::Of(dialog).wasShown)
        Record(dialog, WindowEvent::Action::Ended);
    if (display_)
        display_->Ended(dialog);
}

int ScriptedSurface::Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title)
{
    const std::string name = question.GetName().CastToCharPtr();
    const ZALDialog* parent = question.GetFather();
    const std::size_t index = questions_.size();
    questions_.push_back(
        {name, question.GetStyle(), ToUtf8(title), ToUtf8(text), parent ? parent->GetName().CastToCharPtr() : "", -1});

    const bool isForUser = display_ && userAnswers_ && !HasAnswer(name);
    const int answer = isForUser ? display_->Ask(question, text, title) : AskScript(question, index);
    questions_[index].answer = answer;
    questions_[index].answered |= isForUser;
    return answer;
}

int ScriptedSurface::AskScript(ZALDlgNotify& question, std::size_t index)
{
    // Shared, since the loop may be left before the call has run.
    struct State {
        bool answered = false;
        bool withdrawn = false;
        int answer = ZALDlgAnswerClosed;
    };
    const auto state = std::make_shared<State>();
    EventLoop& loop = EventLoop::Current();
    loop.Post([this, state, index] {
        if (state->withdrawn)
            return;
        state->answer = TakeAnswer(questions_[index]);
        state->answered = true;
    });
    loop.RunUntil([&] { return state->answered || ZALDialogNode::Of(question).ended; });
    state->withdrawn = !state->answered;
    return state->answer;
}

void ScriptedSurface::Record(const ZALDialog& dialog, WindowEvent::Action action)
{
    const ZALDialogNode& node = ZALDialogNode::Of(dialog);
    if (node.IsLastingWindow())
        windowEvents_.push_back({node.Name(), node.style, action});
}

bool ScriptedSurface::HasAnswer(const std::string& dialog) const
{
    const auto queued = answers_.find(dialog);
    return queued != answers_.end() && !queued->second.empty();
}

int ScriptedSurface::TakeAnswer(Question& asked)
{
    if (!HasAnswer(asked.name)) {
        const auto refusal = refusals_.find(asked.name);
        asked.refused = refusal != refusals_.end();
        return asked.refused ? refusal->second : ZALDlgAnswerClosed;
    }
    asked.answered = true;
    std::deque<int>& queued = answers_[asked.name];
    const int answer = queued.front();
    queued.pop_front();
    return answer;
}

} // namespace openhost
