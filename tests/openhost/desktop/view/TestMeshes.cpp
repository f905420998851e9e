#include "tests/openhost/desktop/view/TestMeshes.h"

#include <cmath>
#include <numbers>

namespace openhost::testing {

LvrMesh BoxMesh(float x, float y, float z)
{
    const LvrMesh::Vector half = {x / 2, y / 2, z / 2};
    LvrMesh mesh;
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (const float side : {-1.F, 1.F}) {
            const auto first = static_cast<std::uint32_t>(mesh.positions.size());
            const std::size_t across = (axis + 1) % 3;
            const std::size_t up = (axis + 2) % 3;
            for (const auto& [u, v] : {std::array{-1.F, -1.F}, {1.F, -1.F}, {1.F, 1.F}, {-1.F, 1.F}}) {
                LvrMesh::Vector position{};
                position[axis] = side * half[axis];
                position[across] = side * u * half[across];
                position[up] = v * half[up];
                LvrMesh::Vector normal{};
                normal[axis] = side;
                mesh.positions.push_back(position);
                mesh.normals.push_back(normal);
            }
            mesh.triangles.push_back({first, first + 1, first + 2});
            mesh.triangles.push_back({first, first + 2, first + 3});
        }
    return mesh;
}

LvrMesh CylinderMesh(float radius, float height, std::uint32_t sides)
{
    LvrMesh mesh;
    const auto add = [&](std::uint32_t side, float z, const LvrMesh::Vector& normal) {
        const float angle =
            2 * std::numbers::pi_v<float> * static_cast<float>(side % sides) / static_cast<float>(sides);
        const bool isRound = normal == LvrMesh::Vector{};
        mesh.positions.push_back({radius * std::cos(angle), radius * std::sin(angle), z});
        mesh.normals.push_back(isRound ? LvrMesh::Vector{std::cos(angle), std::sin(angle), 0} : normal);
        return static_cast<std::uint32_t>(mesh.positions.size() - 1);
    };
    for (std::uint32_t side = 0; side <= sides; ++side) {
        const std::uint32_t low = add(side, -height / 2, {});
        add(side, height / 2, {});
        if (side == sides)
            break;
        mesh.triangles.push_back({low, low + 2, low + 3});
        mesh.triangles.push_back({low, low + 3, low + 1});
    }
    for (const float end : {-1.F, 1.F}) {
        const auto first = static_cast<std::uint32_t>(mesh.positions.size());
        for (std::uint32_t side = 0; side < sides; ++side)
            add(side, end * height / 2, {0, 0, end});
        for (std::uint32_t side = 1; side + 1 < sides; ++side)
            mesh.triangles.push_back(end > 0 ? LvrMesh::Triangle{first, first + side, first + side + 1}
                                             : LvrMesh::Triangle{first, first + side + 1, first + side});
    }
    return mesh;
}

} // namespace openhost::testing
