// References that the module adds by itself.
#pragma once

#include "host/object_model.h"

/// A handle with a reference of its own on `object`, which is not asked for an interface; null for null. A reference
/// that the module has already, as on what it has made by `new`, is taken over by ZALInterfaceHandle::Take instead.
template <class T>
ZALInterfaceHandle<T> Hold(T* object)
{
    if (object)
        object->AddRef();
    return ZALInterfaceHandle<T>::Take(object);
}
