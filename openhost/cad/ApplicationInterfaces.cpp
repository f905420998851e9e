// The application as automation sees it, and how documents and products are reached.

#include "openhost/cad/Automation.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/Facet.h"
#include "openhost/cad/Guard.h"
#include "openhost/files/Paths.h"

namespace openhost {

namespace {

class DocumentInterface : public Facet<ZALIADocument, LoadedDocument> {
public:
    using Facet::Facet;
};

/// The workspace in use, whichever it is when a call comes.
CadWorkspace* WorkspaceInUse()
{
    return dynamic_cast<CadWorkspace*>(&CadServices::Current());
}

class DocumentsInterface : public ZALIADocuments {
public:
    HRESULT Open(ZALBSTR path, ZALIADocument** document) override
    {
        if (!document)
            return E_INVALIDARG;
        *document = nullptr;
        CadWorkspace* workspace = WorkspaceInUse();
        if (!path || !workspace)
            return E_FAIL;
        return Guard("Open", [&] { *document = new DocumentInterface(workspace->Open(SystemPath(FromBSTR(path)))); });
    }
};

class ApplicationInterface : public ZALIAApplication {
public:
    HRESULT GetDocuments(ZALIADocuments** documents) override
    {
        if (!documents)
            return E_INVALIDARG;
        *documents = WorkspaceInUse() ? new DocumentsInterface : nullptr;
        return *documents ? S_OK : E_FAIL;
    }
};

} // namespace

ZALIAApplication* CadWorkspace::GetApplication()
{
    return new ApplicationInterface;
}

HRESULT CadWorkspace::FindDocument(const ZALUnicodeString& path, ZALDocument*& document)
{
    document = Share(Find(SystemPath(path))).release();
    return document ? S_OK : E_FAIL;
}

ZALBaseUnknown* CadWorkspace::GetRootProduct(ZALDocument& document)
{
    const auto* loaded = dynamic_cast<LoadedDocument*>(&document);
    return loaded ? Share(loaded->Root()).release() : nullptr;
}

bool CadWorkspace::IsOfPart(ZALIProduct& product)
{
    const auto* own = dynamic_cast<WorkspaceProduct*>(product.GetImpl(0));
    return own && own->Reference() && own->Reference()->Kind() == DocumentKind::Part;
}

} // namespace openhost
