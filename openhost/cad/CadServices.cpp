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

ZALIProduct_var PrdGiveDocRootProduct(ZALDocument* document)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    if (!document || !services)
        return {};
    ZALBaseUnknown* root = services->GetRootProduct(*document);
    ZALIProduct_var product(root);
    if (root)
        root->Release();
    return product;
}

bool ZALPrdIsAProductFromZALPart(ZALIProduct* product)
{
    openhost::CadServices* services = openhost::CadServices::Current();
    return product && services && services->IsOfPart(*product);
}
