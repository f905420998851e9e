#include "openhost/cad/WorkspaceOccurrence.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/objects/MetaClassOperations.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(WorkspaceOccurrence, ZALBaseUnknown)

WorkspaceOccurrence::WorkspaceOccurrence(ProductWay way) : way_(std::move(way))
{
    for (WorkspaceProduct* product : way_)
        kept_.push_back(Share(product));
}

namespace {

/// The way to `product`, whose steps are all still loaded.
ProductWay WayOf(ZALBaseUnknown& product)
{
    ProductWay way;
    if (const auto* occurrence = dynamic_cast<WorkspaceOccurrence*>(&product))
        way = occurrence->Way();
    else if (auto* own = dynamic_cast<WorkspaceProduct*>(&product)) {
        if (!own->IsRoot() && own->Owner())
            way.push_back(own->Owner()->Root());
        way.push_back(own);
    }
    if (way.empty())
        throw CadWorkspaceError("the object is not a product of the workspace");
    for (std::size_t step = 0; step < way.size(); ++step)
        if (!way[step]->Owner() || (step > 0 && way[step - 1]->Reference() != way[step]->Owner()))
            throw CadWorkspaceError(way.back()->Name() + ": the product does not stand where it stood");
    return way;
}

/// In the system of the root of the tree.
Placement PlacementAt(const ProductWay& way)
{
    Placement placement = IdentityPlacement;
    for (const WorkspaceProduct* product : way)
        placement = Within(placement, product->GetPlacement());
    return placement;
}

/// The placement of `reference` in the root of the tree of `way`.
Placement ReferencePlacement(const ProductWay& way, ZALBaseUnknown* reference)
{
    if (!reference)
        return IdentityPlacement;
    const ProductWay other = WayOf(*reference);
    if (other.front() != way.front())
        throw CadWorkspaceError(way.back()->Name() + " and " + other.back()->Name() + " stand in no common tree");
    return PlacementAt(other);
}

} // namespace

std::vector<ZALBaseUnknown_var> InstancesBelow(ZALBaseUnknown& product)
{
    ProductWay way = WayOf(product);
    if (!way.back()->Reference() || way.back()->Reference()->Kind() != DocumentKind::Product)
        throw CadWorkspaceError(way.back()->Name() + ": only a product has instances");

    std::vector<ZALBaseUnknown_var> instances;
    std::vector<std::size_t> positions{0}; ///< of the next child, for each level below the product
    while (!positions.empty()) {
        const LoadedDocument* document = way.back()->Reference();
        if (!document || positions.back() == document->Children().size()) {
            positions.pop_back();
            way.pop_back();
            continue;
        }
        if (instances.size() == MaximumInstances)
            throw CadWorkspaceError("the product has too many instances");
        way.push_back(document->Children()[positions.back()++].get());
        positions.push_back(0);
        // The instances of a root need no way: they stand in it once.
        instances.push_back(way.size() == 2 ? ZALBaseUnknown_var(way.back())
                                            : ZALBaseUnknown_var::Take(new WorkspaceOccurrence(way)));
    }
    return instances;
}

ZALMathTransformation PositionIn(ZALBaseUnknown& product, ZALBaseUnknown* reference)
{
    const ProductWay way = WayOf(product);
    const Placement placement = Within(Inverse(ReferencePlacement(way, reference)), PlacementAt(way));
    ZALMathTransformation position;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            position.Rotation[row][column] = placement[4 * row + column];
        position.Shift[row] = placement[4 * row + 3];
    }
    return position;
}

void SetPositionIn(ZALBaseUnknown& product, ZALBaseUnknown* reference, const ZALMathTransformation& position)
{
    ProductWay way = WayOf(product);
    Placement placement{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            placement[4 * row + column] = position.Rotation[row][column];
        placement[4 * row + 3] = position.Shift[row];
    }
    if (!IsRigid(placement))
        throw CadWorkspaceError(way.back()->Name() + ": the position is not rigid");

    const Placement absolute = Within(ReferencePlacement(way, reference), placement);
    WorkspaceProduct* moved = way.back();
    way.pop_back();
    if (way.empty())
        throw CadWorkspaceError(moved->Name() + ": a root has no position");
    moved->Owner()->Workspace()->MoveComponent(*moved, Within(Inverse(PlacementAt(way)), absolute));
}

} // namespace openhost
