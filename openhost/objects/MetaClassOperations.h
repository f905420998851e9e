// The meta-class operations that every class of the host defines in the same way.
#pragma once

#include "host/object_model.h"

/// Defines the six operations of `Class`, whose record has `Base` as its base and the host as its module.
#define OPENHOST_META_CLASS(Class, Base)                                                                               \
    ZALClassId Class::ClassId()                                                                                        \
    {                                                                                                                  \
        return MetaObject()->GetClassId();                                                                             \
    }                                                                                                                  \
    const char* Class::ClassName()                                                                                     \
    {                                                                                                                  \
        return #Class;                                                                                                 \
    }                                                                                                                  \
    ZALMetaClass* Class::MetaObject()                                                                                  \
    {                                                                                                                  \
        static ZALMetaClass* record =                                                                                  \
            fct_RetrieveMetaObject(#Class, ZALMetaImplementation, Base::MetaObject(), "ZALNull", "openhost");          \
        return record;                                                                                                 \
    }                                                                                                                  \
    ZALMetaClass* Class::GetMetaObject() const                                                                         \
    {                                                                                                                  \
        return MetaObject();                                                                                           \
    }                                                                                                                  \
    const char* Class::IsA() const                                                                                     \
    {                                                                                                                  \
        return ClassName();                                                                                            \
    }                                                                                                                  \
    int Class::IsAKindOf(const char* className) const                                                                  \
    {                                                                                                                  \
        return MetaObject()->IsAKindOf(className);                                                                     \
    }
