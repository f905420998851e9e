#include "openhost/commands/StartedCommands.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/objects/Owned.h"

#include "host/dialog_engine.h"

OPENHOST_META_CLASS(ZALCommand, ZALEventSubscriber)

ZALCommand::ZALCommand(const ZALString& name, ZALCommandMode mode) : name_(name), mode_(mode) {}

ZALCommand::~ZALCommand() = default;

void ZALCommand::RequestDelayedDestruction()
{
    if (endRequested_)
        return;
    openhost::EventLoop::Current().Post([reference = ZALBaseUnknown_WR(this)] {
        if (const auto command = openhost::Lock<ZALCommand>(reference))
            openhost::EndCommand(*command);
    });
    // Only now: without memory for the call the command can be asked again.
    endRequested_ = true;
}

HRESULT ZALCommand::Activate(ZALBaseUnknown*, ZALNotification*)
{
    return S_OK;
}

HRESULT ZALCommand::Cancel(ZALBaseUnknown*, ZALNotification*)
{
    return S_OK;
}

ZALCommandHeader::~ZALCommandHeader() = default;

ZALApplication::~ZALApplication() = default;

ZALInteractiveApplication::~ZALInteractiveApplication() = default;

ZALRecord::~ZALRecord() = default;
