#include "openhost/commands/StartedCommands.h"

#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Owned.h"

#include "host/dialog_engine.h"

#include <utility>
#include <vector>

namespace openhost {

namespace {

struct Run {
    std::vector<ZALBaseUnknown_WR> started;
    int starting = 0;                       ///< commands that are being made
    std::vector<ZALBaseUnknown_WR> endings; ///< asked for meanwhile
};

Run& Current()
{
    static Run run;
    return run;
}

ZALBaseUnknown* Make(const std::string& className)
{
    Run& run = Current();
    ++run.starting;
    ZALBaseUnknown* made = ClassDictionary::Instance().Create(className);
    if (--run.starting == 0)
        for (const ZALBaseUnknown_WR& reference : std::exchange(run.endings, {}))
            EventLoop::Current().Post([reference] {
                if (const auto command = Lock<ZALCommand>(reference))
                    EndCommand(*command);
            });
    return made;
}

} // namespace

StartResult StartCommand(const std::string& className)
{
    const ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList((className + "Header").c_str(), 0);
    if (header && header->IsAvailable() != 1)
        return StartResult::Greyed;
    if (!ClassDictionary::Instance().Knows(className))
        return StartResult::Unknown;

    journal::Write([&] { return journal::Command{.command = className, .action = "begun"}; });
    Owned<ZALBaseUnknown> made(Make(className));
    auto* command = ZALSysDynamicCast<ZALCommand>(made.get());
    if (!command)
        return StartResult::Unknown;
    Current().started.emplace_back(command);
    // It holds itself until it ends.
    static_cast<void>(made.release());
    return StartResult::Started;
}

void EndCommand(ZALCommand& command)
{
    if (Current().starting > 0) {
        Current().endings.emplace_back(&command);
        return;
    }
    journal::Write([&] { return journal::Command{.command = command.GetName().CastToCharPtr(), .action = "ended"}; });
    command.Release();
}

void EndStartedCommands()
{
    for (const ZALBaseUnknown_WR& reference : std::exchange(Current().started, {}))
        if (const auto command = Lock<ZALCommand>(reference))
            command->RequestDelayedDestruction();
}

} // namespace openhost
