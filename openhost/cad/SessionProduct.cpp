#include "openhost/cad/SessionProduct.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/objects/MetaClassOperations.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(SessionProduct, ZALBaseUnknown)

SessionProduct::SessionProduct(LoadedDocument& owner, LoadedDocument* reference, std::string name,
                               const Placement& placement, bool isRoot)
    : owner_(&owner), reference_(reference), name_(std::move(name)), placement_(placement), isRoot_(isRoot)
{
}

SessionProduct::~SessionProduct()
{
    if (rep_)
        rep_->Release();
}

ZALRep* SessionProduct::GiveRep()
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
