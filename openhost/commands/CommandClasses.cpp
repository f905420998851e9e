#include "openhost/objects/MetaClassOperations.h"

#include "host/dialog_engine.h"

OPENHOST_META_CLASS(ZALCommand, ZALEventSubscriber)

ZALCommand::ZALCommand(const ZALString& name, int mode) : name_(name), mode_(mode) {}

ZALCommand::~ZALCommand() = default;

ZALCommandHeader::~ZALCommandHeader() = default;

ZALApplication::~ZALApplication() = default;

ZALInteractiveApplication::~ZALInteractiveApplication() = default;

ZALRecord::~ZALRecord() = default;
