#include "catalogue/items/Solid.h"

#include "openhost/geometry/KernelSpace.h"

#include <BRepAlgoAPI_Common.hxx>
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <GC_MakeArcOfCircle.hxx>
#include <ShapeUpgrade_UnifySameDomain.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Ax1.hxx>
#include <gp_Trsf.hxx>

namespace catalogue {

namespace {

gp_Pnt ToPoint(const Vector& v)
{
    return {v[0], v[1], v[2]};
}

TopoDS_Face Face(const Outline& outline, const std::function<gp_Pnt(const Point&)>& place)
{
    BRepBuilderAPI_MakeWire wire;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const gp_Pnt from = place(outline[i].at);
        const gp_Pnt to = place(outline[(i + 1) % outline.size()].at);
        if (outline[i].via)
            wire.Add(BRepBuilderAPI_MakeEdge(GC_MakeArcOfCircle(from, place(*outline[i].via), to).Value()));
        else
            wire.Add(BRepBuilderAPI_MakeEdge(from, to));
    }
    return BRepBuilderAPI_MakeFace(wire.Wire(), true).Face();
}

/// Joins faces of one surface that an operation has left in pieces.
TopoDS_Shape Unified(const TopoDS_Shape& shape)
{
    ShapeUpgrade_UnifySameDomain unify(shape);
    unify.Build();
    return unify.Shape();
}

} // namespace

TopoDS_Shape Extrude(const Outline& outline, double height)
{
    const TopoDS_Face face = Face(outline, [](const Point& point) { return gp_Pnt(point.x, point.y, 0); });
    return BRepPrimAPI_MakePrism(face, gp_Vec(0, 0, height)).Shape();
}

TopoDS_Shape Revolve(const Outline& outline)
{
    const TopoDS_Face face = Face(outline, [](const Point& point) { return gp_Pnt(point.x, 0, point.y); });
    return BRepPrimAPI_MakeRevol(face, gp_Ax1(gp::Origin(), gp::DZ())).Shape();
}

TopoDS_Shape Cylinder(const Vector& foot, double radius, double height)
{
    return BRepPrimAPI_MakeCylinder(gp_Ax2(ToPoint(foot), gp::DZ()), radius, height).Shape();
}

TopoDS_Shape Box(const Vector& lowest, const Vector& highest)
{
    return BRepPrimAPI_MakeBox(ToPoint(lowest), ToPoint(highest)).Shape();
}

TopoDS_Shape Sphere(const Vector& centre, double radius)
{
    return BRepPrimAPI_MakeSphere(ToPoint(centre), radius).Shape();
}

TopoDS_Shape Fuse(const TopoDS_Shape& shape, const TopoDS_Shape& other)
{
    return Unified(BRepAlgoAPI_Fuse(shape, other).Shape());
}

TopoDS_Shape Cut(const TopoDS_Shape& shape, const TopoDS_Shape& tool)
{
    return BRepAlgoAPI_Cut(shape, tool).Shape();
}

TopoDS_Shape Common(const TopoDS_Shape& shape, const TopoDS_Shape& other)
{
    return BRepAlgoAPI_Common(shape, other).Shape();
}

TopoDS_Shape Together(const std::vector<TopoDS_Shape>& solids)
{
    TopoDS_Compound compound;
    BRep_Builder builder;
    builder.MakeCompound(compound);
    for (const TopoDS_Shape& solid : solids)
        builder.Add(compound, solid);
    return compound;
}

TopoDS_Shape Turned(const TopoDS_Shape& shape, const Vector& axis, double angle)
{
    gp_Trsf rotation;
    rotation.SetRotation(gp_Ax1(gp::Origin(), gp_Dir(axis[0], axis[1], axis[2])), angle);
    return BRepBuilderAPI_Transform(shape, rotation, true).Shape();
}

TopoDS_Shape Shifted(const TopoDS_Shape& shape, const Vector& shift)
{
    gp_Trsf translation;
    translation.SetTranslation(gp_Vec(shift[0], shift[1], shift[2]));
    return BRepBuilderAPI_Transform(shape, translation, true).Shape();
}

TopoDS_Shape Filleted(const TopoDS_Shape& shape, double radius,
                      const std::function<bool(const Vector& end, const Vector& otherEnd)>& wanted)
{
    TopTools_IndexedMapOfShape edges;
    TopExp::MapShapes(shape, TopAbs_EDGE, edges);
    BRepFilletAPI_MakeFillet fillet(shape);
    for (int i = 1; i <= edges.Extent(); ++i) {
        const TopoDS_Edge edge = TopoDS::Edge(edges(i));
        const gp_Pnt end = BRep_Tool::Pnt(TopExp::FirstVertex(edge));
        const gp_Pnt otherEnd = BRep_Tool::Pnt(TopExp::LastVertex(edge));
        if (wanted(openhost::FromKernel(end.XYZ()), openhost::FromKernel(otherEnd.XYZ())))
            fillet.Add(radius, edge);
    }
    return fillet.Shape();
}

double Integrate(const std::function<double(double)>& function, double from, double to)
{
    constexpr int steps = 20'000;
    const double width = (to - from) / steps;
    double sum = function(from) + function(to);
    for (int i = 1; i < steps; ++i)
        sum += (i % 2 == 1 ? 4 : 2) * function(from + i * width);
    return sum * width / 3;
}

} // namespace catalogue
