// Shapes of Open CASCADE as triangles.
#pragma once

#include "openhost/documents/PartColors.h"
#include "openhost/lvr/LvrMesh.h"

class TopoDS_Shape;

namespace openhost {

/// How far the triangles may be from the surfaces.
struct TessellationTolerance {
    /// Largest distance of a triangle from its surface, as a part of the diagonal of the shape's bounding box. A shape
    /// that fills a picture of 1000 pixels shows no corner then, and volume and area are right to a few thousandths.
    double chord = 0.001;
    /// Largest angle in radians between the normals of neighbouring triangles on one surface: 15 degrees, so that the
    /// small holes and fillets of a large shape, which the chord alone would make triangles of, keep 24 sides.
    double angle = 0.2618;
};

/// Of a view that shows many parts at once: a third of the triangles, in half of the time. A hole has 18 sides.
inline constexpr TessellationTolerance ViewTolerance{.chord = 0.002, .angle = 0.35};

/// The triangles of `shape`, with the normals of its surfaces and the colours of its faces. What the shape carried of
/// triangles before is replaced. Equal shapes give equal meshes. Throws GeometryError for a shape without faces, or one
/// that cannot be tessellated.
LvrMesh TessellateShape(const TopoDS_Shape& shape, const TessellationTolerance& tolerance = {},
                        const PartColors& colors = {});

} // namespace openhost
