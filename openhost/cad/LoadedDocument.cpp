#include "openhost/cad/LoadedDocument.h"

#include "openhost/cad/CadSession.h"
#include "openhost/text/Utf.h"

#include <utility>

namespace openhost {

LoadedDocument::LoadedDocument(CadSession& session, std::filesystem::path path, CadDocument contents)
    : session_(&session), path_(std::move(path)), contents_(std::move(contents)),
      root_(new SessionProduct(*this, this, contents_.partNumber, IdentityPlacement, true))
{
}

LoadedDocument::~LoadedDocument() = default;

HRESULT LoadedDocument::AddRefForLock()
{
    ++locks_;
    return S_OK;
}

HRESULT LoadedDocument::ReleaseForLock(int)
{
    if (locks_ == 0)
        return E_FAIL;
    --locks_;
    if (session_)
        session_->UnloadUnused(*this);
    return S_OK;
}

ZALUnicodeString LoadedDocument::StorageName()
{
    return FromUtf8(path_.string());
}

} // namespace openhost
