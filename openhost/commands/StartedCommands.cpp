#include "openhost/commands/StartedCommands.h"

#include "openhost/journal/Journal.h"
#include "openhost/objects/ClassDictionary.h"

#include "host/dialog_engine.h"

#include <utility>
#include <vector>

namespace openhost {

namespace {

std::vector<ZALBaseUnknown_WR>& Started()
{
    static std::vector<ZALBaseUnknown_WR> commands;
    return commands;
}

} // namespace

StartResult StartCommand(const std::string& className)
{
    const ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList((className + "Header").c_str(), 0);
    if (header && header->IsAvailable() != 1)
        return StartResult::Greyed;
    if (!ClassDictionary::Instance().Knows(className))
        return StartResult::Unknown;

    journal::Write("command", {{"command", className}, {"action", "begun"}});
    ZALBaseUnknown* made = ClassDictionary::Instance().Create(className);
    auto* command = ZALSysDynamicCast<ZALCommand>(made);
    if (command)
        Started().emplace_back(command);
    else if (made)
        made->Release();
    return command ? StartResult::Started : StartResult::Unknown;
}

void EndStartedCommands()
{
    for (const ZALBaseUnknown_WR& reference : std::exchange(Started(), {}))
        if (ZALBaseUnknown* command = reference.GetComponent()) {
            static_cast<ZALCommand*>(command)->RequestDelayedDestruction();
            command->Release();
        }
}

} // namespace openhost
