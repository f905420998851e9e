// A part as triangles and lines, for drawing.
#pragma once

#include "openhost/documents/PartColors.h"
#include "openhost/picture/Picture.h"
#include "openhost/space/Box.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

class TopoDS_Shape;

namespace openhost {

struct PartMesh {
    struct Triangle {
        std::array<std::uint32_t, 3> corners;
        std::optional<Color> color; ///< of its face; none when that has none
    };

    std::vector<Vector> points;
    std::vector<Vector> normals; ///< one a point; of unit length, on either side of the surface
    std::vector<Triangle> triangles;
    std::vector<std::vector<Vector>> lines; ///< the edges at which the surface has a crease or an end
};

/// The mesh of `shape`, whose faces have `colors`; it is nowhere further from it than `deflection`. Throws
/// Standard_Failure of the kernel.
PartMesh MeshPart(const TopoDS_Shape& shape, const PartColors& colors, double deflection);

/// A box around `shape`, which may be a little larger than the shape; nothing for one without extent. Throws
/// Standard_Failure.
std::optional<Box> BoxAround(const TopoDS_Shape& shape);

} // namespace openhost
