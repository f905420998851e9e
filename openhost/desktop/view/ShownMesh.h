// A mesh as the 3D view draws it: with its edges, and at several degrees of detail.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <array>
#include <cstdint>
#include <vector>

namespace openhost {

/// Two positions of a mesh.
using MeshEdge = std::array<std::uint32_t, 2>;

struct MeshDetail {
    LvrMesh mesh;
    std::vector<MeshEdge> edges;
    std::vector<LvrMesh::Color>
        colors;       ///< of the positions, in place of those of the triangles; none when there are none
    double error = 0; ///< how far it may be from the mesh that was prepared, in millimetres
};

struct ShownMesh {
    std::vector<MeshDetail> details; ///< finest first, one at least
    Box box;
    bool isClosed = false; ///< its inner side is never seen
};

/// The borders of `mesh`, which CheckLvrMesh accepts, and the edges at which its surface has a crease: positions
/// coincide there, normals do not. Each comes once.
struct MeshEdges {
    std::vector<MeshEdge> edges;
    bool hasBorders = false;
};
MeshEdges FindEdges(const LvrMesh& mesh);

/// `detail` with all positions drawn together that lie in one cube of a grid, of the side `cell`, and on one side of
/// the surface. Triangles and edges that have become too small for that are gone.
MeshDetail Coarsen(const MeshDetail& detail, double cell);

/// Prepares `mesh`, which CheckLvrMesh accepts. Takes a second for a million triangles.
ShownMesh PrepareMesh(LvrMesh mesh);

} // namespace openhost
