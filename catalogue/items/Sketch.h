// Plane outlines and the solids that they make.
#pragma once

#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>

#include <array>
#include <functional>
#include <vector>

namespace catalogue {

struct Point {
    double x;
    double y;
};

/// Corners of a closed outline, joined by straight edges.
using Outline = std::vector<Point>;
using Direction = std::array<double, 3>;

/// The prism over `outline`, in the xy plane, from z = 0 to `height`.
TopoDS_Shape Extrude(const Outline& outline, double height);
/// The solid that `outline`, as pairs of radius and z, makes around the z axis.
TopoDS_Shape Revolve(const Outline& outline);
/// The cylinder over z = 0 around (x, y), up to `height`.
TopoDS_Shape Cylinder(double x, double y, double radius, double height);
/// The box between two corners.
TopoDS_Shape Box(const std::array<double, 3>& lowest, const std::array<double, 3>& highest);
/// `shape` turned about an axis through the origin, by `angle` in radians.
TopoDS_Shape Turned(const TopoDS_Shape& shape, const Direction& axis, double angle);
TopoDS_Shape Shifted(const TopoDS_Shape& shape, const Direction& shift);

/// The integral of `function` by Simpson's rule with as many steps as volumes of parts need.
double Integrate(const std::function<double(double)>& function, double from, double to);

} // namespace catalogue
