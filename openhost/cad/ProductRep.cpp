#include "openhost/cad/ProductRep.h"

#include "openhost/cad/LoadedDocument.h"

namespace openhost {

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
        const auto& children = instance.document->Children();
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            if ((*child)->Reference())
                waiting.push_back({(*child)->Reference(), Within(instance.placement, (*child)->GetPlacement())});
    }
    return parts;
}

} // namespace openhost
