#include "openhost/commands/ZALStateCommandRun.h"
#include "openhost/objects/MetaClassOperations.h"

OPENHOST_META_CLASS(ZALStateCommand, ZALCommand)

ZALStateCommand::ZALStateCommand(const ZALString& name, int behavior, int mode)
    : ZALCommand(name, static_cast<ZALCommandMode>(mode)), run_(std::make_unique<ZALStateCommandRun>(this))
{
    run_->behavior = behavior;
}

ZALStateCommand::~ZALStateCommand() = default;

ZALString ZALStateCommand::GetResourceFilename(int) const
{
    return {};
}

ZALString ZALStateCommand::GetResourceClass(int) const
{
    return {};
}

int ZALStateCommand::IsOtherResourceFile(int) const
{
    return 0;
}

// ---------------------------------------------------------------------------------------------
// The graph

ZALDialogState* ZALStateCommand::GetInitialState(const ZALString& name)
{
    if (!run_->initial)
        run_->initial = run_->AddState(name);
    return run_->initial;
}

ZALDialogState* ZALStateCommand::AddDialogState(const ZALString& name)
{
    return run_->AddState(name);
}

ZALDialogState* ZALStateCommand::GetCancelState()
{
    if (!run_->cancel)
        run_->cancel = run_->AddState("CancelState");
    return run_->cancel;
}

void ZALStateCommand::AddTransition(ZALDialogState* from, ZALDialogState* to, ZALDialogCondition* condition,
                                    ZALDialogAction* action)
{
    if (from && condition)
        run_->transitions.push_back({from, to, condition, action});
}

ZALDialogCondition* ZALStateCommand::IsOutputSetCondition(ZALDialogAgent* agent)
{
    return run_->conditions.emplace_back(std::make_unique<ZALDialogCondition>(agent)).get();
}

ZALDialogFilter* ZALStateCommand::Filter(ZALFilterMethod method, void* data)
{
    return run_->filters.emplace_back(std::make_unique<ZALDialogFilter>(this, method, data)).get();
}

ZALDialogAction* ZALStateCommand::Action(ZALActionMethod method, ZALActionMethod, ZALActionMethod, void* data)
{
    return run_->actions.emplace_back(std::make_unique<ZALDialogAction>(this, method, data)).get();
}

void ZALDialogState::AddDialogAgent(ZALDialogAgent* agent)
{
    if (!agent)
        return;
    agents_.emplace_back(agent);
    agent->command_ = command_;
}
