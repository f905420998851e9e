#include "openhost/commands/DialogEngine.h"

#include "openhost/commands/ZALStateCommandRun.h"
#include "openhost/journal/Events.h"

#include "host/cad.h"

#include <algorithm>

namespace openhost {

DialogEngine& DialogEngine::Current()
{
    // Never destroyed: commands of a module may end after the statics of this library.
    static auto& engine = *new DialogEngine;
    return engine;
}

ZALStateCommandRun* DialogEngine::FindWaiting() const
{
    const auto newest = std::find_if(runs_.rbegin(), runs_.rend(),
                                     [](const ZALStateCommandRun* run) { return run->WaitsForElement(); });
    return newest == runs_.rend() ? nullptr : *newest;
}

bool DialogEngine::IsWaitingForElement() const
{
    return FindWaiting() != nullptr;
}

std::string DialogEngine::Refusal(ZALPathElement* path) const
{
    ZALStateCommandRun* newest = FindWaiting();
    return newest ? newest->Refusal(path) : "no command waits for an element";
}

Pick DialogEngine::Offer(ZALPathElement* path, const std::string& element)
{
    Pick pick;
    ZALStateCommandRun* newest = FindWaiting();
    if (!newest) {
        pick.reason = "no command waits for an element";
        journal::Write(
            [&] { return journal::Selection{.element = element, .accepted = false, .reason = pick.reason}; });
        return pick;
    }

    // The command lives until its transitions have been tried: they end it by a posted call at the earliest.
    ZALStateCommandRun& run = *newest;
    pick.command = run.Name();
    pick.reason = run.Take(path);
    pick.accepted = pick.reason.empty();
    journal::Write([&] {
        journal::Selection event{.element = element, .accepted = pick.accepted, .command = pick.command};
        if (!pick.accepted)
            event.reason = pick.reason;
        return event;
    });
    if (pick.accepted)
        run.TryTransitions();
    return pick;
}

void DialogEngine::EndCommand(ZALStateCommand* command)
{
    const auto found = std::ranges::find(runs_, command, &ZALStateCommandRun::command);
    if (found != runs_.end())
        (*found)->EndByHost();
}

void DialogEngine::EndAll()
{
    // By a list of its own: a command may start and end others while it is cancelled.
    const std::vector<RunningCommand> ending = Commands();
    for (auto running = ending.rbegin(); running != ending.rend(); ++running)
        EndCommand(running->command);
}

std::vector<RunningCommand> DialogEngine::Commands() const
{
    std::vector<RunningCommand> commands;
    for (const ZALStateCommandRun* run : runs_)
        commands.push_back({run->command, run->Name(),
                            run->active ? run->active->GetName().CastToCharPtr() : std::string(), run->behavior});
    return commands;
}

std::vector<std::string> DialogEngine::GraphOf(const ZALStateCommand& command)
{
    return ZALStateCommandRun::GraphOf(command);
}

} // namespace openhost
