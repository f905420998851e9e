#include "openhost/commands/ZALStateCommandRun.h"

#include "host/cad.h"

ZALDialogAgent::ZALDialogAgent(const ZALString& name, int behavior, int mode)
    : name_(name), behavior_(behavior), mode_(mode)
{
}

ZALDialogAgent::~ZALDialogAgent() = default;

void ZALDialogAgent::Accept(ZALNotification*, int)
{
    outputSet_ = true;
    const auto command = ZALBaseUnknown_var::Take(command_.GetComponent());
    if (command)
        ZALStateCommandRun::ValueGiven(*static_cast<ZALStateCommand*>(command.Get()));
}

ZALPathElementAgent::ZALPathElementAgent(const ZALString& name, ZALClassId elementType, int behavior)
    : ZALDialogAgent(name, behavior), elementType_(elementType)
{
}

ZALPathElementAgent::~ZALPathElementAgent()
{
    if (value_)
        value_->Release();
}
