#include "openhost/cad/SessionProduct.h"

#include "openhost/objects/MetaClassOperations.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(SessionProduct, ZALBaseUnknown)

SessionProduct::SessionProduct(LoadedDocument& owner, LoadedDocument* reference, std::string name,
                               const Placement& placement, bool isRoot)
    : owner_(&owner), reference_(reference), name_(std::move(name)), placement_(placement), isRoot_(isRoot)
{
}

SessionProduct::~SessionProduct() = default;

} // namespace openhost
