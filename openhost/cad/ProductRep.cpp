#include "openhost/cad/ProductRep.h"

#include "openhost/cad/LoadedDocument.h"

namespace openhost {

namespace {

/// The placement in a product of what stands at `inner` in something that stands at `outer`.
Placement Combine(const Placement& outer, const Placement& inner)
{
    Placement combined{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 4; ++column) {
            double& number = combined[4 * row + column];
            number = column == 3 ? outer[4 * row + 3] : 0;
            for (std::size_t k = 0; k < 3; ++k)
                number += outer[4 * row + k] * inner[4 * k + column];
        }
    return combined;
}

} // namespace

std::vector<ShownPart> FindShownParts(const WorkspaceProduct& product)
{
    struct Instance {
        const LoadedDocument* document;
        Placement placement;
    };
    std::vector<ShownPart> parts;
    std::vector<Instance> waiting;
    if (product.Reference())
        waiting.push_back({product.Reference(), IdentityPlacement});
    for (std::size_t count = 0; !waiting.empty(); ++count) {
        if (count == MaximumShownInstances)
            return {};
        const Instance instance = waiting.back();
        waiting.pop_back();
        if (instance.document->HasGeometry())
            parts.push_back({instance.document->Path(), instance.placement});
        // The first child is taken next.
        const std::vector<WorkspaceProduct*>& children = instance.document->Children();
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            if ((*child)->Reference())
                waiting.push_back({(*child)->Reference(), Combine(instance.placement, (*child)->GetPlacement())});
    }
    return parts;
}

} // namespace openhost
