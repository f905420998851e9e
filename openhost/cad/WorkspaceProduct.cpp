#include "openhost/cad/WorkspaceProduct.h"

#include "openhost/cad/LoadedDocument.h"
#include "openhost/cad/ProductRep.h"
#include "openhost/objects/MetaClassOperations.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(WorkspaceProduct, ZALBaseUnknown)

WorkspaceProduct::WorkspaceProduct(LoadedDocument& document)
    : owner_(&document), reference_(&document), name_(document.PartNumber()), placement_(IdentityPlacement),
      isRoot_(true)
{
}

WorkspaceProduct::WorkspaceProduct(LoadedDocument& owner, LoadedDocument* reference, std::string name,
                                   const Placement& placement)
    : owner_(&owner), reference_(reference), name_(std::move(name)), placement_(placement), isRoot_(false)
{
}

WorkspaceProduct::~WorkspaceProduct() = default;

void WorkspaceProduct::Detach()
{
    owner_ = nullptr;
    reference_ = nullptr;
}

ZALRep* WorkspaceProduct::GiveRep()
{
    std::vector<ShownPart> parts = FindShownParts(*this);
    if (!rep_ || rep_->Parts() != parts)
        rep_.reset(parts.empty() ? nullptr : new ProductRep(std::move(parts)));
    return rep_.get();
}

} // namespace openhost
