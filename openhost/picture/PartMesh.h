// A part as triangles and lines, for drawing.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

class TopoDS_Shape;

namespace openhost {

using Vector3 = std::array<double, 3>;

struct PartMesh {
    struct Triangle {
        std::array<std::uint32_t, 3> corners;
    };

    std::vector<Vector3> points;
    std::vector<Vector3> normals; ///< one a point; of unit length, on either side of the surface
    std::vector<Triangle> triangles;
    std::vector<std::vector<Vector3>> lines; ///< the edges at which the surface has a crease or an end
};

/// The mesh of `shape`, which is nowhere further from it than `deflection`. Throws Standard_Failure of the kernel.
PartMesh MeshPart(const TopoDS_Shape& shape, double deflection);

struct Box3 {
    bool empty = true;
    Vector3 lowest{};
    Vector3 highest{};
};

/// A box around `shape`, which may be a little larger than the shape. Throws Standard_Failure.
Box3 BoxAround(const TopoDS_Shape& shape);

} // namespace openhost
