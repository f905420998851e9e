#include "openhost/objects/MetaClassOperations.h"

#include "host/dialog_engine.h"

OPENHOST_META_CLASS(ZALCommand, ZALEventSubscriber)

ZALCommand::ZALCommand(const ZALString& name, int mode) : name_(name), mode_(mode) {}

ZALCommand::~ZALCommand() = default;

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
