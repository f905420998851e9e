#include "openhost/geometry/MeshShape.h"

#include "openhost/geometry/OnAllCores.h"

#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Builder.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_TShape.hxx>

#include <numeric>
#include <unordered_map>
#include <vector>

namespace openhost {

namespace {

void AddBodies(const TopoDS_Shape& shape, std::vector<TopoDS_Shape>& bodies)
{
    if (shape.ShapeType() != TopAbs_COMPOUND) {
        bodies.push_back(shape);
        return;
    }
    for (TopoDS_Iterator child(shape); child.More(); child.Next())
        AddBodies(child.Value(), bodies);
}

/// Puts together bodies that share a face or an edge, perhaps at another place each.
class BodyGroups {
public:
    explicit BodyGroups(const std::vector<TopoDS_Shape>& bodies) : groupOf_(bodies.size())
    {
        std::iota(groupOf_.begin(), groupOf_.end(), std::size_t{0});
        for (std::size_t body = 0; body < bodies.size(); ++body)
            for (const TopAbs_ShapeEnum kind : {TopAbs_FACE, TopAbs_EDGE}) {
                TopTools_IndexedMapOfShape parts;
                TopExp::MapShapes(bodies[body], kind, parts);
                for (int part = 1; part <= parts.Extent(); ++part) {
                    const auto [first, isNew] = firstWith_.try_emplace(parts(part).TShape().get(), body);
                    if (!isNew)
                        groupOf_[GroupOf(body)] = GroupOf(first->second);
                }
            }
    }

    /// The body that stands for all of the group of `body`.
    std::size_t GroupOf(std::size_t body)
    {
        while (groupOf_[body] != body)
            body = groupOf_[body] = groupOf_[groupOf_[body]];
        return body;
    }

private:
    std::vector<std::size_t> groupOf_;
    std::unordered_map<const TopoDS_TShape*, std::size_t> firstWith_;
};

} // namespace

std::vector<TopoDS_Shape> DivideShape(const TopoDS_Shape& shape)
{
    std::vector<TopoDS_Shape> bodies;
    AddBodies(shape, bodies);
    if (bodies.size() < 2)
        return {shape};
    BodyGroups groups(bodies);
    const BRep_Builder builder;
    std::unordered_map<std::size_t, std::size_t> pieceOf;
    std::vector<TopoDS_Shape> pieces;
    for (std::size_t body = 0; body < bodies.size(); ++body) {
        const auto [piece, isNew] = pieceOf.try_emplace(groups.GroupOf(body), pieces.size());
        if (isNew) {
            TopoDS_Compound empty;
            builder.MakeCompound(empty);
            pieces.push_back(empty);
        }
        builder.Add(pieces[piece->second], bodies[body]);
    }
    return pieces;
}

void MeshShape(const TopoDS_Shape& shape, double deflection, double angle)
{
    const std::vector<TopoDS_Shape> pieces = DivideShape(shape);
    OnAllCores(pieces.size(), [&](std::size_t piece) {
        // The kernel's own threads are left alone: they may wait for ever once memory has run out in one.
        const BRepMesh_IncrementalMesh kept(pieces[piece], deflection, Standard_False, angle);
    });
}

} // namespace openhost
