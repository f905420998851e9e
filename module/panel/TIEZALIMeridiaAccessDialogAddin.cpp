#include "panel/TIEZALIMeridiaAccessDialogAddin.h"

TIEZALIMeridiaAccessDialogAddin::TIEZALIMeridiaAccessDialogAddin(ZALVelmartMeridiaAccessAddin* addin) : addin_(addin)
{
    addin_->AddRef();
}

TIEZALIMeridiaAccessDialogAddin::~TIEZALIMeridiaAccessDialogAddin()
{
    addin_->Release();
}

ZALBaseUnknown* TIEZALIMeridiaAccessDialogAddin::GetImpl(int)
{
    return addin_;
}

ZALMetaClass* TIEZALIMeridiaAccessDialogAddin::MetaObject()
{
    static ZALMetaClass* const record =
        fct_RetrieveMetaObject(ZALIMeridiaAccessDialogAddin::ClassId(), ZALMetaAdapter,
                               ZALIMeridiaAccessDialogAddin::MetaObject(), "ZALNull", "ZALVelmartIntegration");
    return record;
}

ZALMetaClass* TIEZALIMeridiaAccessDialogAddin::GetMetaObject() const
{
    return MetaObject();
}

ZALBaseUnknown* CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(ZALBaseUnknown* implementation)
{
    auto* addin = ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(implementation);
    if (!addin)
        return nullptr;

    if (ZALBaseUnknown* linked = ZALSysGetLinkedAdapter(implementation, ZALIMeridiaAccessDialogAddin::ClassId()))
        return linked;

    auto* adapter = new TIEZALIMeridiaAccessDialogAddin(addin);
    ZALSysLinkAdapter(implementation, ZALIMeridiaAccessDialogAddin::ClassId(), adapter);
    return adapter;
}
