#include "openhost/cad/LoadedDocument.h"

#include <utility>

namespace openhost {

LoadedDocument::LoadedDocument(CadSession& session, std::filesystem::path path, CadDocument contents)
    : session_(&session), path_(std::move(path)), contents_(std::move(contents)),
      root_(new SessionProduct(*this, this, contents_.partNumber, IdentityPlacement, true))
{
}

LoadedDocument::~LoadedDocument() = default;

} // namespace openhost
