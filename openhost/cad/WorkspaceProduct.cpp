#include "openhost/cad/WorkspaceProduct.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/objects/MetaClassOperations.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(WorkspaceProduct, ZALBaseUnknown)

WorkspaceProduct::WorkspaceProduct(LoadedDocument& owner, LoadedDocument* reference, std::string name,
                                   const Placement& placement, bool isRoot)
    : owner_(&owner), reference_(reference), name_(std::move(name)), placement_(placement), isRoot_(isRoot)
{
}

WorkspaceProduct::~WorkspaceProduct()
{
    if (rep_)
        rep_->Release();
}

ZALRep* WorkspaceProduct::GiveRep()
{
    std::vector<ShownPart> parts = FindShownParts(*this);
    if (rep_ && rep_->Parts() == parts)
        return rep_;
    if (rep_)
        rep_->Release();
    rep_ = parts.empty() ? nullptr : new ProductRep(std::move(parts));
    return rep_;
}

} // namespace openhost
