// Triangles on the faces of a shape.
#pragma once

class TopoDS_Shape;

namespace openhost {

/// Gives each face of `shape` triangles that keep within `deflection`, in millimetres, and `angle`, in radians. Faces
/// that are without triangles afterwards could not be meshed. Faces are meshed on all cores; the triangles do not
/// depend on how many there are. Throws Standard_Failure, std::bad_alloc.
void MeshFaces(const TopoDS_Shape& shape, double deflection, double angle);

/// The same triangles, and gives each edge its points among them.
void MeshFacesAndEdges(const TopoDS_Shape& shape, double deflection, double angle);

} // namespace openhost
