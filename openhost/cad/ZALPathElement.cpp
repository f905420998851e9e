#include "openhost/objects/MetaClassOperations.h"

#include "host/cad.h"

OPENHOST_META_CLASS(ZALPathElement, ZALBaseUnknown)

ZALPathElement::ZALPathElement() = default;

ZALPathElement::~ZALPathElement()
{
    for (ZALBaseUnknown* object : objects_)
        object->Release();
}

void ZALPathElement::InitToLeafElement()
{
    next_ = objects_.size();
}

ZALBaseUnknown* ZALPathElement::GetNextFatherObject()
{
    return next_ > 0 ? objects_[--next_] : nullptr;
}

void ZALPathElement::AddChildElement(ZALBaseUnknown* object)
{
    if (!object)
        return;
    objects_.push_back(object);
    object->AddRef();
}
