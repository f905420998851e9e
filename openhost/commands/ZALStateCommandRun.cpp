#include "openhost/commands/ZALStateCommandRun.h"

#include "openhost/commands/DialogEngine.h"
#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/text/Utf.h"

#include "host/cad.h"
#include "host/dialogs.h"

#include <algorithm>
#include <utility>

namespace {

/// Transitions that one value may cause. A graph that needs more runs in a circle.
constexpr int MaximumTransitions = 1000;

/// Levels of resource files. A list that is longer has no end.
constexpr int MaximumLevels = 32;

} // namespace

bool ZALDialogCondition::Holds() const
{
    const auto agent = openhost::Lock<ZALDialogAgent>(agent_);
    return agent && agent->IsOutputSet();
}

/// Lasts while code of the command may run: holds the command, and lets an ended one be released after the last of
/// them.
class ZALStateCommandRun::Inside {
public:
    explicit Inside(ZALStateCommandRun& run) : run_(run), held_(openhost::Share(run.command)) { ++run_.inside_; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    ~Inside()
    {
        if (--run_.inside_ == 0 && run_.ended_) {
            // The reference of `new`, which nobody needs any more.
            std::shared_ptr<ZALStateCommand> ended = openhost::Owned<ZALStateCommand>(held_.get());
            openhost::EventLoop::Current().Post([ended = std::move(ended)]() mutable { ended.reset(); });
        }
    }

private:
    ZALStateCommandRun& run_;
    openhost::Owned<ZALStateCommand> held_;
};

ZALStateCommandRun::ZALStateCommandRun(ZALStateCommand* owner) : command(owner)
{
    static std::uint64_t last = 0;
    number_ = ++last;
    // A begin that is posted for nobody finds nobody.
    openhost::EventLoop::Current().Post([number = number_] {
        const auto& runs = openhost::DialogEngine::Current().runs_;
        const auto found = std::ranges::find(runs, number, &ZALStateCommandRun::number_);
        if (found != runs.end())
            (*found)->Begin();
    });
    openhost::DialogEngine::Current().runs_.push_back(this);
}

ZALStateCommandRun::~ZALStateCommandRun()
{
    LeaveEngine();
}

void ZALStateCommandRun::LeaveEngine()
{
    std::erase(openhost::DialogEngine::Current().runs_, this);
}

ZALDialogState* ZALStateCommandRun::AddState(const ZALString& name)
{
    std::unique_ptr<ZALDialogState> state(new ZALDialogState(command, name));
    return states.emplace_back(std::move(state)).get();
}

// ---------------------------------------------------------------------------------------------
// The run

void ZALStateCommandRun::Begin()
{
    const Inside inside(*this);
    openhost::journal::Write([this] { return openhost::journal::Command{.command = Name(), .action = "begun"}; });

    command->BuildCommandGraph();
    if (ended_)
        return;

    activated_ = true;
    command->Activate(nullptr, nullptr);
    if (ended_)
        return;

    Enter(initial && HasAgent(*initial) ? initial : command->GetCancelState());
    TakeTransitions();
}

void ZALStateCommandRun::ValueGiven(ZALStateCommand& command)
{
    command.run_->TryTransitions();
}

void ZALStateCommandRun::TryTransitions()
{
    if (inside_ > 0 || !active)
        return;
    const Inside inside(*this);
    TakeTransitions();
}

void ZALStateCommandRun::TakeTransitions()
{
    for (int taken = 0; active; ++taken) {
        const auto next = std::ranges::find_if(transitions, [this](const Transition& transition) {
            return transition.from == active && transition.condition->Holds();
        });
        if (next == transitions.end())
            return;
        if (taken == MaximumTransitions) {
            End("cancelled", true);
            return;
        }

        // A copy: an action may add transitions.
        const Transition transition = *next;
        if (transition.action && !transition.action->Run())
            return;
        if (active)
            Enter(transition.to);
    }
}

void ZALStateCommandRun::Enter(ZALDialogState* state)
{
    if (!state) {
        End("done", false);
        return;
    }
    if (state == cancel) {
        End("cancelled", true);
        return;
    }

    active = state;
    openhost::journal::Write([&] {
        return openhost::journal::Command{
            .command = Name(), .action = "entered", .state = state->GetName().CastToCharPtr()};
    });
    if (state->GetResourceID().GetLengthInChar() > 0)
        openhost::journal::Write([this] { return DescribePrompt(); });
}

openhost::journal::Prompt ZALStateCommandRun::DescribePrompt() const
{
    const std::string key = active->GetResourceID().CastToCharPtr();
    ZALUnicodeString text;
    for (int level = 0; level < MaximumLevels && text.GetLengthInChar() == 0; ++level) {
        const ZALString file = command->GetResourceFilename(level);
        if (file.GetLengthInChar() == 0)
            break;
        const std::string prefix = command->IsOtherResourceFile(level)
                                       ? std::string(command->GetResourceClass(level).CastToCharPtr()) + "."
                                       : "";
        text = ZALMsgCatalog::BuildMessage(file, (prefix + key).c_str(), nullptr, 0, {});
    }
    return {.command = Name(),
            .state = active->GetName().CastToCharPtr(),
            .text = text.GetLengthInChar() > 0 ? openhost::ToUtf8(text) : key};
}

std::vector<std::string> ZALStateCommandRun::GraphOf(const ZALStateCommand& command)
{
    const auto nameOf = [](ZALBaseUnknown* agent) {
        const auto held = ZALBaseUnknown_var::Take(agent);
        return std::string(held ? static_cast<ZALDialogAgent*>(agent)->GetName().CastToCharPtr() : "nobody");
    };
    std::vector<std::string> lines;
    for (const std::unique_ptr<ZALDialogState>& state : command.run_->states) {
        std::string line = std::string("state ") + state->GetName().CastToCharPtr() + " [" +
                           state->GetResourceID().CastToCharPtr() + "]";
        const char* separator = ": ";
        for (const ZALBaseUnknown_WR& agent : state->agents_)
            line += std::exchange(separator, ", ") + nameOf(agent.GetComponent());
        lines.push_back(line);
    }
    for (const Transition& transition : command.run_->transitions)
        lines.push_back(std::string(transition.from->GetName().CastToCharPtr()) + " to " +
                        (transition.to ? transition.to->GetName().CastToCharPtr() : "the end") + " when " +
                        nameOf(transition.condition->Agent()) + (transition.action ? ", by an action" : ""));
    return lines;
}

// ---------------------------------------------------------------------------------------------
// Picks

bool ZALStateCommandRun::WaitsForElement() const
{
    return inside_ == 0 && active && !ElementAgents().empty();
}

bool ZALStateCommandRun::HasAgent(const ZALDialogState& state)
{
    return std::ranges::any_of(state.agents_, [](const ZALBaseUnknown_WR& agent) {
        return static_cast<bool>(ZALBaseUnknown_var::Take(agent.GetComponent()));
    });
}

std::vector<ZALStateCommandRun::HeldAgent> ZALStateCommandRun::ElementAgents() const
{
    std::vector<HeldAgent> agents;
    for (const ZALBaseUnknown_WR& reference : active->agents_) {
        openhost::Owned<ZALBaseUnknown> agent = openhost::Lock(reference);
        if (auto* elementAgent = dynamic_cast<ZALPathElementAgent*>(agent.get())) {
            static_cast<void>(agent.release());
            agents.emplace_back(elementAgent);
        }
    }
    return agents;
}

namespace {

/// The last object of `path`, or null.
ZALBaseUnknown* LeafOf(ZALPathElement* path)
{
    if (!path)
        return nullptr;
    path->InitToLeafElement();
    return path->GetNextFatherObject();
}

constexpr const char* NoElement = "there is no element";

} // namespace

std::string ZALStateCommandRun::Refusal(ZALPathElement* path)
{
    ZALBaseUnknown* leaf = LeafOf(path);
    if (!leaf)
        return NoElement;
    const Inside inside(*this);
    std::string refusal = NoElement;
    for (const HeldAgent& agent : ElementAgents()) {
        std::string reason = Ask(*agent, leaf);
        if (!active || reason.empty())
            return reason;
        if (refusal == NoElement)
            refusal = std::move(reason);
    }
    return refusal;
}

std::string ZALStateCommandRun::Take(ZALPathElement* path)
{
    ZALBaseUnknown* leaf = LeafOf(path);
    if (!leaf)
        return NoElement;

    const Inside inside(*this);
    std::vector<HeldAgent> agents = ElementAgents();
    std::stable_partition(agents.begin(), agents.end(), [](const HeldAgent& agent) { return !agent->IsOutputSet(); });
    std::string refusal;
    for (const HeldAgent& agent : agents) {
        std::string reason = Ask(*agent, leaf);
        if (!active)
            return "the command has ended";
        if (reason.empty()) {
            path->AddRef();
            if (agent->value_)
                agent->value_->Release();
            agent->value_ = path;
            agent->leaf_ = leaf;
            agent->outputSet_ = true;
            return {};
        }
        if (refusal.empty())
            refusal = std::move(reason);
    }
    return refusal;
}

std::string ZALStateCommandRun::Ask(ZALPathElementAgent& agent, ZALBaseUnknown* leaf)
{
    if (agent.elementType_.GetLengthInChar() > 0) {
        ZALBaseUnknown* offered = nullptr;
        if (FAILED(leaf->QueryInterface(agent.elementType_.CastToCharPtr(), &offered)))
            return std::string("the element does not offer ") + agent.elementType_.CastToCharPtr();
        const openhost::Owned<ZALBaseUnknown> released(offered);
    }
    if (!agent.filter_)
        return {};
    agent.offered_ = leaf;
    const bool accepted = agent.filter_->Accepts(&agent);
    agent.offered_ = nullptr;
    return accepted ? "" : "the command does not accept the element";
}

// ---------------------------------------------------------------------------------------------
// The end

void ZALStateCommandRun::EndByHost()
{
    const Inside inside(*this);
    End("ended", activated_);
}

void ZALStateCommandRun::End(const char* how, bool cancels)
{
    ended_ = true;
    active = nullptr;
    LeaveEngine();
    openhost::journal::Write([&] { return openhost::journal::Command{.command = Name(), .action = how}; });
    if (cancels)
        command->Cancel(nullptr, nullptr);
}
