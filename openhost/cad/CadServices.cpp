#include "openhost/cad/CadServices.h"

#include "openhost/frame/Frame.h"

namespace openhost {

template class Port<CadServices>;

namespace {

class NoDocuments final : public CadServices {
public:
    ZALIAApplication* GetApplication() override { return nullptr; }
    HRESULT FindDocument(const ZALUnicodeString&, ZALDocument*&) override { return E_FAIL; }
    ZALBaseUnknown* GetRootProduct(ZALDocument&) override { return nullptr; }
    bool IsOfPart(ZALIProduct&) override { return false; }
    HRESULT OpenDocument(const ZALUnicodeString&, ZALDocument*&, int) override { return E_FAIL; }
    HRESULT SaveDocumentAs(ZALDocument&, const ZALUnicodeString&, const ZALUnicodeString&, int) override
    {
        return E_FAIL;
    }
    HRESULT SaveDocumentAsNew(ZALDocument&, const ZALUnicodeString&, int) override { return E_FAIL; }
    HRESULT RemoveDocument(ZALDocument&, int) override { return E_FAIL; }
    ZALDocument* DocumentOf(ZALBaseUnknown&) override { return nullptr; }
};

ZALBaseUnknown* GiveApplication(ZALBaseUnknown*)
{
    return CadServices::Current().GetApplication();
}

const ZALFillDictionary ApplicationOfTheFrame(FrameClass, "ZALIAApplication", GiveApplication, 0);

} // namespace

CadServices::~CadServices() = default;

std::unique_ptr<CadServices> CadServices::WithoutBackend()
{
    return std::make_unique<NoDocuments>();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

HRESULT ZALDocumentServices::GetDocumentInSession(const ZALUnicodeString& path, ZALDocument** document)
{
    if (!document)
        return E_INVALIDARG;
    *document = nullptr;
    return openhost::CadServices::Current().FindDocument(path, *document);
}

HRESULT ZALDocumentServices::Open(const ZALUnicodeString& path, ZALDocument*& document, int mode)
{
    document = nullptr;
    return openhost::CadServices::Current().OpenDocument(path, document, mode);
}

HRESULT ZALDocumentServices::SaveAs(ZALDocument* document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                                    int mode)
{
    return document ? openhost::CadServices::Current().SaveDocumentAs(*document, path, format, mode) : E_FAIL;
}

HRESULT ZALDocumentServices::SaveAsNew(ZALDocument* document, const ZALUnicodeString& path, int mode)
{
    return document ? openhost::CadServices::Current().SaveDocumentAsNew(*document, path, mode) : E_FAIL;
}

HRESULT ZALDocumentServices::Remove(ZALDocument* document, int mode)
{
    return document ? openhost::CadServices::Current().RemoveDocument(*document, mode) : E_FAIL;
}

ZALDocument* ZALDocumentServices::GetDocumentOf(ZALBaseUnknown* object)
{
    return object ? openhost::CadServices::Current().DocumentOf(*object) : nullptr;
}

ZALIProduct_var PrdGiveDocRootProduct(ZALDocument* document)
{
    if (!document)
        return {};
    return ZALIProduct_var(ZALBaseUnknown_var::Take(openhost::CadServices::Current().GetRootProduct(*document)));
}

bool ZALPrdIsAProductFromZALPart(ZALIProduct* product)
{
    return product && openhost::CadServices::Current().IsOfPart(*product);
}
