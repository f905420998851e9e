// Owners of counted objects.
#pragma once

#include "host/object_model.h"

#include <memory>

namespace openhost {

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

/// Owns one reference: the one that `new` or an operation of the host has given. Its release() hands that reference on.
template <class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

/// An owner with a reference of its own on `object`, which others hold as well; null for null.
template <class T>
Owned<T> Share(T* object)
{
    if (object)
        object->AddRef();
    return Owned<T>(object);
}

/// An owner of what `reference` leads to, which is a T; null once that is gone.
template <class T = ZALBaseUnknown>
Owned<T> Lock(const ZALBaseUnknown_WR& reference)
{
    return Owned<T>(static_cast<T*>(reference.GetComponent()));
}

} // namespace openhost
