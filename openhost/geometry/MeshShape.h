// Triangles on the faces of a shape.
#pragma once

#include <vector>

class TopoDS_Shape;

namespace openhost {

/// The bodies of `shape` in pieces of which none shares a face or an edge with another, so that they can be meshed at
/// the same time: the kernel keeps triangles in faces, and their points on edges. At least one.
std::vector<TopoDS_Shape> DivideShape(const TopoDS_Shape& shape);

/// Gives each face of `shape` triangles that keep within `deflection`, in millimetres, and `angle`, in radians. Faces
/// that are without triangles afterwards could not be meshed. Its pieces are meshed on all cores; the
/// triangles do not depend on how many there are. Throws Standard_Failure.
void MeshShape(const TopoDS_Shape& shape, double deflection, double angle);

} // namespace openhost
