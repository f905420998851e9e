#include "openhost/cad/DocumentKernel.h"
#include "openhost/objects/MetaClassOperations.h"

ZALStorage::ZALStorage() = default;
ZALStorage::~ZALStorage() = default;

HRESULT ZALStorage::OpenRootStg(const ZALUnicodeString& path, int create, ZALStorage** storage, int mode)
{
    if (!storage)
        return E_INVALIDARG;
    *storage = nullptr;
    if (create != 0 || mode != ZALStorageRead)
        return E_INVALIDARG;
    return openhost::DocumentKernel::Current().OpenRoot(path, storage);
}

ZALBaseUnknown* ZALDocumentProperty::CreateDocLinkManager(ZALStorage* storage, void* context)
{
    return storage && !context ? openhost::DocumentKernel::Current().CreateLinkManager(*storage) : nullptr;
}

ZALIPointedSymbols::ZALIPointedSymbols() = default;
ZALIPointedSymbols::~ZALIPointedSymbols() = default;
OPENHOST_META_CLASS(ZALIPointedSymbols, ZALBaseUnknown)
