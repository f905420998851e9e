#include "openhost/cad/CadServices.h"

#include "openhost/frame/Frame.h"

#include <utility>

namespace openhost {

namespace {

std::unique_ptr<CadServices>& Installed()
{
    static std::unique_ptr<CadServices> services;
    return services;
}

ZALBaseUnknown* GiveApplication(ZALBaseUnknown*)
{
    CadServices* services = CadServices::Current();
    return services ? services->GetApplication() : nullptr;
}

const ZALFillDictionary ApplicationOfTheFrame(FrameClass, "ZALIAApplication", GiveApplication, 0);

} // namespace

CadServices::~CadServices() = default;

CadServices* CadServices::Current()
{
    return Installed().get();
}

std::unique_ptr<CadServices> CadServices::Install(std::unique_ptr<CadServices> services)
{
    return std::exchange(Installed(), std::move(services));
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

HRESULT ZALDocumentServices::GetDocumentInSession(const ZALUnicodeString& path, ZALDocument** document)
{
    if (!document)
        return E_INVALIDARG;
    openhost::CadServices* services = openhost::CadServices::Current();
    *document = services ? services->FindDocument(path) : nullptr;
    return *document ? S_OK : E_FAIL;
}

HRESULT ZALDocumentServices::Open(const ZALUnicodeString& path, ZALDocument*& document, int mode)
{
    document = nullptr;
    openhost::CadServices* services = openhost::CadServices::Current();
    return services ? services->OpenDocument(path, document, mode) : E_FAIL;
}

HRESULT ZALDocumentServices::SaveAs(ZALDocument* document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                                    int mode)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    return document && services ? services->SaveDocumentAs(*document, path, format, mode) : E_FAIL;
}

HRESULT ZALDocumentServices::SaveAsNew(ZALDocument* document, const ZALUnicodeString& path, int mode)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    return document && services ? services->SaveDocumentAsNew(*document, path, mode) : E_FAIL;
}

HRESULT ZALDocumentServices::Remove(ZALDocument* document, int mode)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    return document && services ? services->RemoveDocument(*document, mode) : E_FAIL;
}

ZALDocument* ZALDocumentServices::GetDocumentOf(ZALBaseUnknown* object)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    return object && services ? services->DocumentOf(*object) : nullptr;
}

ZALIProduct_var PrdGiveDocRootProduct(ZALDocument* document)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    if (!document || !services)
        return {};
    return ZALIProduct_var(ZALBaseUnknown_var::Take(services->GetRootProduct(*document)));
}

bool ZALPrdIsAProductFromZALPart(ZALIProduct* product)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    return product && services && services->IsOfPart(*product);
}
