// Interfaces of objects as objects of their own.
#pragma once

#include "openhost/objects/Owned.h"

namespace openhost {

/// The interface `Interface` of an `Object`. Holds the object.
template <class Interface, class Object>
class Facet : public Interface {
public:
    explicit Facet(Object& target) : target_(Share(&target)) {}
    ZALBaseUnknown* GetImpl(int) override { return target_.get(); }

protected:
    Object& Target() const { return *target_; }

private:
    Owned<Object> target_;
};

/// For the class dictionary: the adapter of an `Object` that is the facet `Adapter`.
template <class Adapter, class Object>
ZALBaseUnknown* Offer(ZALBaseUnknown* object)
{
    return new Adapter(static_cast<Object&>(*object));
}

} // namespace openhost
