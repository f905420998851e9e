#include "openhost/cad/LoadedDocument.h"

#include <utility>

namespace openhost {

LoadedDocument::LoadedDocument(CadSession& session, std::filesystem::path path, CadDocument contents)
    : session_(&session), path_(std::move(path)), hasGeometry_(contents.geometry.has_value()),
      contents_(std::move(contents)),
      root_(new SessionProduct(*this, this, contents_.partNumber, IdentityPlacement, true))
{
    contents_.geometry.reset();
}

LoadedDocument::~LoadedDocument() = default;

} // namespace openhost
