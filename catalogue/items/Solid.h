// Solids from outlines. Lengths in millimetres, angles in radians. All of them throw Standard_Failure of the
// kernel for what cannot be built.
#pragma once

#include "catalogue/items/Outline.h"
#include "openhost/space/Vector.h"

#include <TopoDS_Shape.hxx>

#include <functional>

namespace catalogue {

using openhost::Vector;

/// The prism over `outline`, which lies in the xy plane, from z = 0 up to `height`.
TopoDS_Shape Extrude(const Outline& outline, double height);
/// The ring that `outline`, pairs of radius and z, makes around the z axis.
TopoDS_Shape Revolve(const Outline& outline);
/// A cylinder along z.
TopoDS_Shape Cylinder(const Vector& foot, double radius, double height);
TopoDS_Shape Box(const Vector& lowest, const Vector& highest);
TopoDS_Shape Sphere(const Vector& centre, double radius);

TopoDS_Shape Fuse(const TopoDS_Shape& shape, const TopoDS_Shape& other);
TopoDS_Shape Cut(const TopoDS_Shape& shape, const TopoDS_Shape& tool);
TopoDS_Shape Common(const TopoDS_Shape& shape, const TopoDS_Shape& other);
/// Several solids as one part.
TopoDS_Shape Together(const std::vector<TopoDS_Shape>& solids);

/// `shape` turned about an axis through the origin.
TopoDS_Shape Turned(const TopoDS_Shape& shape, const Vector& axis, double angle);
TopoDS_Shape Shifted(const TopoDS_Shape& shape, const Vector& shift);
/// `shape` with a fillet on each edge whose two ends `wanted` accepts.
TopoDS_Shape Filleted(const TopoDS_Shape& shape, double radius,
                      const std::function<bool(const Vector& end, const Vector& otherEnd)>& wanted);

/// The integral of `function` by Simpson's rule.
double Integrate(const std::function<double(double)>& function, double from, double to);

} // namespace catalogue
