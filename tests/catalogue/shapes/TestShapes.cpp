#include "tests/catalogue/shapes/TestShapes.h"

#include <cmath>
#include <numbers>

namespace catalogue::testing {

using openhost::LvrMesh;

namespace {

void AddTriangle(LvrMesh& mesh, std::uint32_t a, std::uint32_t b, std::uint32_t c)
{
    mesh.triangles.push_back({a, b, c});
}

} // namespace

LvrMesh BoxMesh(float x, float y, float z, unsigned int cells)
{
    LvrMesh mesh;
    const std::array<float, 3> size{x, y, z};
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (const bool far : {false, true}) {
            const std::size_t right = (axis + 1) % 3;
            const std::size_t up = (axis + 2) % 3;
            const auto first = static_cast<std::uint32_t>(mesh.positions.size());
            for (unsigned int row = 0; row <= cells; ++row)
                for (unsigned int column = 0; column <= cells; ++column) {
                    LvrMesh::Vector position{};
                    position[axis] = far ? size[axis] : 0;
                    position[right] = size[right] * static_cast<float>(column) / static_cast<float>(cells);
                    position[up] = size[up] * static_cast<float>(row) / static_cast<float>(cells);
                    LvrMesh::Vector normal{};
                    normal[axis] = far ? 1 : -1;
                    mesh.positions.push_back(position);
                    mesh.normals.push_back(normal);
                }
            for (unsigned int row = 0; row < cells; ++row)
                for (unsigned int column = 0; column < cells; ++column) {
                    const std::uint32_t a = first + row * (cells + 1) + column;
                    const std::uint32_t b = a + 1;
                    const std::uint32_t c = a + cells + 1;
                    AddTriangle(mesh, a, far ? b : c, far ? c : b);
                    AddTriangle(mesh, b, far ? c + 1 : c, far ? c : c + 1);
                }
        }
    return mesh;
}

LvrMesh CylinderMesh(float radius, float height, unsigned int sides)
{
    LvrMesh mesh;
    const auto vertex = [&](float x, float y, float z, const LvrMesh::Vector& normal) {
        mesh.positions.push_back({x, y, z});
        mesh.normals.push_back(normal);
        return static_cast<std::uint32_t>(mesh.positions.size() - 1);
    };
    const auto angle = [&](unsigned int side) {
        return static_cast<float>(2 * std::numbers::pi * side / static_cast<double>(sides));
    };
    for (unsigned int side = 0; side < sides; ++side) {
        const float c0 = std::cos(angle(side));
        const float s0 = std::sin(angle(side));
        const float c1 = std::cos(angle(side + 1));
        const float s1 = std::sin(angle(side + 1));
        const std::uint32_t a = vertex(radius * c0, radius * s0, 0, {c0, s0, 0});
        const std::uint32_t b = vertex(radius * c1, radius * s1, 0, {c1, s1, 0});
        const std::uint32_t c = vertex(radius * c1, radius * s1, height, {c1, s1, 0});
        const std::uint32_t d = vertex(radius * c0, radius * s0, height, {c0, s0, 0});
        AddTriangle(mesh, a, b, c);
        AddTriangle(mesh, a, c, d);
        for (const float z : {0.0F, height}) {
            const LvrMesh::Vector normal{0, 0, z > 0 ? 1.0F : -1.0F};
            const std::uint32_t centre = vertex(0, 0, z, normal);
            const std::uint32_t from = vertex(radius * c0, radius * s0, z, normal);
            const std::uint32_t to = vertex(radius * c1, radius * s1, z, normal);
            AddTriangle(mesh, centre, z > 0 ? from : to, z > 0 ? to : from);
        }
    }
    return mesh;
}

LvrMesh Moved(const LvrMesh& mesh)
{
    const double a = 0.7;
    const double b = 1.1;
    LvrMesh moved;
    openhost::AddPlaced(moved, mesh,
                        {std::cos(a), -std::sin(a), 0, 1000, std::sin(a) * std::cos(b), std::cos(a) * std::cos(b),
                         -std::sin(b), -300, std::sin(a) * std::sin(b), std::cos(a) * std::sin(b), std::cos(b), 777});
    return moved;
}

LvrMesh Mirrored(LvrMesh mesh)
{
    for (std::vector<LvrMesh::Vector>* vectors : {&mesh.positions, &mesh.normals})
        for (LvrMesh::Vector& vector : *vectors)
            vector[0] = -vector[0];
    for (LvrMesh::Triangle& triangle : mesh.triangles)
        std::swap(triangle[1], triangle[2]);
    return mesh;
}

LvrMesh Scaled(LvrMesh mesh, float factor)
{
    for (LvrMesh::Vector& position : mesh.positions)
        for (float& coordinate : position)
            coordinate *= factor;
    return mesh;
}

} // namespace catalogue::testing
