// The meta-class operations that every class of the module has: mechanical, and the same for all.
#pragma once

#include "host/object_model.h"

#include <new>

/// Declares the operations inside a class, with one more of the module's own, which is always null: the class is not
/// made this way.
#define VL_DECLARE_META_CLASS                                                                                          \
public:                                                                                                                \
    ZAL_DECLARE_META_CLASS                                                                                             \
    static ZALBaseUnknown* CreateItself();

/// Defines them. The record is made at first need and shared by all of them. Without memory for it the class has its
/// name and nothing else, until the next call.
#define VL_DEFINE_META_CLASS(Class, Base)                                                                              \
    ZALClassId Class::ClassId()                                                                                        \
    {                                                                                                                  \
        const ZALMetaClass* const record = MetaObject();                                                               \
        return record ? record->GetClassId() : ClassName();                                                            \
    }                                                                                                                  \
    const char* Class::ClassName()                                                                                     \
    {                                                                                                                  \
        return #Class;                                                                                                 \
    }                                                                                                                  \
    ZALMetaClass* Class::MetaObject()                                                                                  \
    try {                                                                                                              \
        static ZALMetaClass* const record = fct_RetrieveMetaObject(#Class, ZALMetaImplementation, Base::MetaObject(),  \
                                                                   "ZALNull", "ZALVelmartIntegration");                \
        return record;                                                                                                 \
    } catch (const std::bad_alloc&) {                                                                                  \
        return nullptr;                                                                                                \
    }                                                                                                                  \
    ZALBaseUnknown* Class::CreateItself()                                                                              \
    {                                                                                                                  \
        return nullptr;                                                                                                \
    }                                                                                                                  \
    ZALMetaClass* Class::GetMetaObject() const                                                                         \
    {                                                                                                                  \
        return MetaObject();                                                                                           \
    }                                                                                                                  \
    const char* Class::IsA() const                                                                                     \
    {                                                                                                                  \
        const ZALMetaClass* const record = MetaObject();                                                               \
        return record ? record->GetName() : ClassName();                                                               \
    }                                                                                                                  \
    int Class::IsAKindOf(const char* className) const                                                                  \
    {                                                                                                                  \
        const ZALMetaClass* const record = MetaObject();                                                               \
        return record ? record->IsAKindOf(className) : 0;                                                              \
    }
