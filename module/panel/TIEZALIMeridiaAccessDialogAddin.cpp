#include "panel/TIEZALIMeridiaAccessDialogAddin.h"

#include "objects/Hold.h"

#include <new>

TIEZALIMeridiaAccessDialogAddin::TIEZALIMeridiaAccessDialogAddin(ZALVelmartMeridiaAccessAddin* addin)
    : addin_(Hold(addin))
{
}

TIEZALIMeridiaAccessDialogAddin::~TIEZALIMeridiaAccessDialogAddin() = default;

ZALBaseUnknown* TIEZALIMeridiaAccessDialogAddin::GetImpl(int)
{
    return addin_.Get();
}

ZALMetaClass* TIEZALIMeridiaAccessDialogAddin::MetaObject()
try {
    static ZALMetaClass* const record =
        fct_RetrieveMetaObject(ZALIMeridiaAccessDialogAddin::ClassId(), ZALMetaAdapter,
                               ZALIMeridiaAccessDialogAddin::MetaObject(), "ZALNull", "ZALVelmartIntegration");
    return record;
} catch (const std::bad_alloc&) {
    return nullptr;
}

ZALMetaClass* TIEZALIMeridiaAccessDialogAddin::GetMetaObject() const
{
    return MetaObject();
}

ZALBaseUnknown* CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(ZALBaseUnknown* implementation)
try {
    auto* addin = ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(implementation);
    if (!addin)
        return nullptr;

    if (ZALBaseUnknown* linked = ZALSysGetLinkedAdapter(implementation, ZALIMeridiaAccessDialogAddin::ClassId()))
        return linked;

    const auto adapter = ZALBaseUnknown_var::Take(new TIEZALIMeridiaAccessDialogAddin(addin));
    ZALSysLinkAdapter(implementation, ZALIMeridiaAccessDialogAddin::ClassId(), adapter.Get());
    adapter->AddRef(); // the caller's
    return adapter.Get();
} catch (const std::bad_alloc&) {
    return nullptr;
}
