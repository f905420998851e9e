#include "catalogue/items/ItemMass.h"

#include "openhost/geometry/KernelSpace.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepGProp.hxx>
#include <GProp_GProps.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Shape.hxx>

#include <stdexcept>

namespace catalogue {

namespace {

/// An amount of something and its middle, weighted by the amount.
struct Weight {
    double amount = 0;
    openhost::Vector moment{};

    void Add(double more, const openhost::Vector& middle)
    {
        amount += more;
        for (std::size_t axis = 0; axis < 3; ++axis)
            moment[axis] += more * middle[axis];
    }
    openhost::Vector Middle() const { return {moment[0] / amount, moment[1] / amount, moment[2] / amount}; }
};

struct PartMass {
    GProp_GProps solids;
    GProp_GProps surface;
    openhost::Box box;
};

PartMass MeasurePart(const openhost::DocumentGeometry& geometry)
{
    const TopoDS_Shape shape = openhost::DecodeShape(geometry);
    PartMass mass;
    // A sheet beside the solids has no volume.
    for (TopExp_Explorer solid(shape, TopAbs_SOLID); solid.More(); solid.Next()) {
        GProp_GProps one;
        BRepGProp::VolumeProperties(solid.Current(), one);
        mass.solids.Add(one);
    }
    BRepGProp::SurfaceProperties(shape, mass.surface);
    mass.box = (geometry.facts ? *geometry.facts : openhost::MeasureShape(shape)).box;
    return mass;
}

/// The tree of an item; each part is measured once.
class Gatherer {
public:
    explicit Gatherer(const Catalogue& catalogue) : catalogue_(catalogue) {}

    void Add(const std::string& name, const openhost::Placement& placement)
    {
        const auto found = catalogue_.documents.find(name);
        if (found == catalogue_.documents.end())
            throw std::runtime_error(name + ": the document is missing");
        const openhost::CadDocument& document = found->second;
        if (document.geometry)
            AddPart(name, *document.geometry, placement);
        for (const openhost::ChildInstance& child : document.children)
            Add(document.links[child.link], openhost::Within(placement, child.placement));
    }

    ItemMass Take() const
    {
        ItemMass mass{volume_.amount, area_.amount, {}, box_.value_or(openhost::Box())};
        if (volume_.amount > 0)
            mass.center = volume_.Middle();
        else if (area_.amount > 0)
            mass.center = area_.Middle();
        return mass;
    }

private:
    void AddPart(const std::string& name, const openhost::DocumentGeometry& geometry,
                 const openhost::Placement& placement)
    {
        const auto [part, isNew] = parts_.try_emplace(name);
        if (isNew)
            part->second = MeasurePart(geometry);
        const auto add = [&](Weight& weight, const GProp_GProps& measured) {
            weight.Add(measured.Mass(),
                       openhost::PlacePoint(placement, openhost::FromKernel(measured.CentreOfMass().XYZ())));
        };
        add(volume_, part->second.solids);
        add(area_, part->second.surface);
        for (const openhost::Vector& corner : part->second.box.Corners())
            openhost::Widen(box_, openhost::PlacePoint(placement, corner));
    }

    const Catalogue& catalogue_;
    std::map<std::string, PartMass> parts_;
    Weight volume_;
    Weight area_;
    std::optional<openhost::Box> box_;
};

} // namespace

ItemMass MeasureItem(const Catalogue& catalogue, const Item& item)
{
    Gatherer gatherer(catalogue);
    gatherer.Add(item.root, openhost::IdentityPlacement);
    return gatherer.Take();
}

} // namespace catalogue
