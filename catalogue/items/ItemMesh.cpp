#include "catalogue/items/ItemMesh.h"

#include "openhost/geometry/ShapeGeometry.h"

#include <TopoDS_Shape.hxx>

namespace catalogue {

namespace {

/// The tree of an item; each part is tessellated once.
class Gatherer {
public:
    Gatherer(const Catalogue& catalogue, const openhost::TessellationTolerance& tolerance)
        : catalogue_(catalogue), tolerance_(tolerance)
    {
    }

    openhost::LvrMesh Gather(const std::string& root)
    {
        Add(root, openhost::IdentityPlacement);
        return std::move(whole_);
    }

private:
    void Add(const std::string& name, const openhost::Placement& placement)
    {
        const openhost::CadDocument& document = catalogue_.documents.at(name);
        if (document.geometry)
            openhost::AddPlaced(whole_, PartMesh(name, *document.geometry), placement);
        for (const openhost::ChildInstance& child : document.children)
            Add(document.links[child.link], openhost::Within(placement, child.placement));
    }

    const openhost::LvrMesh& PartMesh(const std::string& name, const openhost::DocumentGeometry& geometry)
    {
        const auto [entry, isNew] = parts_.try_emplace(name);
        if (isNew)
            entry->second = openhost::TessellateShape(openhost::DecodeShape(geometry), tolerance_, geometry.colors);
        return entry->second;
    }

    const Catalogue& catalogue_;
    openhost::TessellationTolerance tolerance_;
    std::map<std::string, openhost::LvrMesh> parts_;
    openhost::LvrMesh whole_;
};

} // namespace

openhost::LvrMesh TessellateItem(const Catalogue& catalogue, const Item& item,
                                 const openhost::TessellationTolerance& tolerance)
{
    return Gatherer(catalogue, tolerance).Gather(item.root);
}

} // namespace catalogue
