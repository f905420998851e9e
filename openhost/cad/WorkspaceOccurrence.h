// Where the products of the workspace stand in their trees.
#pragma once

#include "openhost/cad/WorkspaceProduct.h"

#include <vector>

namespace openhost {

/// The way through a tree to an instance: the root of a document, then each instance in the product that the one before
/// refers to.
using ProductWay = std::vector<WorkspaceProduct*>;

/// An instance as it stands in a tree. The instance itself stands once in the document of its father, which may be used
/// many times. Keeps the products of its way, which know when they are gone.
class WorkspaceOccurrence : public ZALBaseUnknown {
public:
    explicit WorkspaceOccurrence(ProductWay way);

    const ProductWay& Way() const { return way_; }
    WorkspaceProduct& Leaf() const { return *way_.back(); }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    ProductWay way_;
    std::vector<Owned<WorkspaceProduct>> kept_; ///< those of the way
};

/// Most instances below one product that InstancesBelow gives.
inline constexpr std::size_t MaximumInstances = 1'000'000;

// `product` is a WorkspaceProduct or a WorkspaceOccurrence. All throw CadWorkspaceError.

/// The instances below `product` at all levels, each before those below it. Fails for what is not a product.
std::vector<ZALBaseUnknown_var> InstancesBelow(ZALBaseUnknown& product);
/// The position of `product` in the system of `reference`, or of the root of its tree when that is null. Fails when
/// they stand in no common tree.
ZALMathTransformation PositionIn(ZALBaseUnknown& product, ZALBaseUnknown* reference);
/// Moves `product` there. Fails for a root and for a `position` that is not rigid.
void SetPositionIn(ZALBaseUnknown& product, ZALBaseUnknown* reference, const ZALMathTransformation& position);

} // namespace openhost
