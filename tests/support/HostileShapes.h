// Boundary representations that the solid kernel does not survive. Each is a sound one with a few bytes changed.
#pragma once

#include "openhost/geometry/ShapeGeometry.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <TopoDS_Shape.hxx>

#include <string>
#include <string_view>

namespace openhost::testing {

inline DocumentGeometry Changed(const TopoDS_Shape& shape, std::size_t at, std::string_view bytes)
{
    DocumentGeometry geometry = EncodeShape(shape);
    geometry.boundary.replace(at, bytes.size(), bytes);
    return geometry;
}

/// The kernel crashes when it decodes this one.
inline DocumentGeometry CrashesDecoding()
{
    return Changed(BRepPrimAPI_MakeCylinder(5, 20).Shape(), 1610, {"\0\0\0\0\0\0\xf0\x7f", 8});
}

/// The kernel decodes this one, and crashes when it checks it.
inline DocumentGeometry CrashesChecking()
{
    return Changed(BRepPrimAPI_MakeBox(10, 20, 5).Shape(), 2379, {"\0\0\0\0", 4});
}

/// The kernel decodes this one, and does not come to an end with its triangles.
inline DocumentGeometry HangsTessellating()
{
    return Changed(BRepPrimAPI_MakeCylinder(5, 20).Shape(), 635, "\xff\xff\xff\x7f");
}

} // namespace openhost::testing
