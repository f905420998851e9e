#include "catalogue/items/Sketch.h"

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <gp_Ax1.hxx>
#include <gp_Pnt.hxx>
#include <gp_Trsf.hxx>
#include <gp_Vec.hxx>

namespace catalogue {

namespace {

TopoDS_Face Face(const Outline& outline, const std::function<gp_Pnt(const Point&)>& place)
{
    BRepBuilderAPI_MakePolygon polygon;
    for (const Point& point : outline)
        polygon.Add(place(point));
    polygon.Close();
    return BRepBuilderAPI_MakeFace(polygon.Wire(), true).Face();
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

TopoDS_Shape Cylinder(double x, double y, double radius, double height)
{
    return BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(x, y, 0), gp::DZ()), radius, height).Shape();
}

TopoDS_Shape Box(const std::array<double, 3>& lowest, const std::array<double, 3>& highest)
{
    return BRepPrimAPI_MakeBox(gp_Pnt(lowest[0], lowest[1], lowest[2]), gp_Pnt(highest[0], highest[1], highest[2]))
        .Shape();
}

TopoDS_Shape Turned(const TopoDS_Shape& shape, const Direction& axis, double angle)
{
    gp_Trsf rotation;
    rotation.SetRotation(gp_Ax1(gp::Origin(), gp_Dir(axis[0], axis[1], axis[2])), angle);
    return BRepBuilderAPI_Transform(shape, rotation, true).Shape();
}

TopoDS_Shape Shifted(const TopoDS_Shape& shape, const Direction& shift)
{
    gp_Trsf translation;
    translation.SetTranslation(gp_Vec(shift[0], shift[1], shift[2]));
    return BRepBuilderAPI_Transform(shape, translation, true).Shape();
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
