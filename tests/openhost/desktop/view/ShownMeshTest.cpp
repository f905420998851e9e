// Meshes made ready for the view.

#include "openhost/desktop/view/ShownMesh.h"
#include "tests/openhost/desktop/view/TestMeshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace openhost::testing {

namespace {

/// Edges by where their ends are, smaller first.
std::multiset<std::array<LvrMesh::Vector, 2>> Places(const LvrMesh& mesh, const std::vector<MeshEdge>& edges)
{
    std::multiset<std::array<LvrMesh::Vector, 2>> places;
    for (const MeshEdge& edge : edges) {
        const auto [from, to] = std::minmax(mesh.positions[edge[0]], mesh.positions[edge[1]]);
        places.insert({from, to});
    }
    return places;
}

/// Triangles that look outwards, as their normals say.
std::size_t LookingOutwards(const LvrMesh& mesh)
{
    std::size_t number = 0;
    for (const auto& [a, b, c] : mesh.triangles) {
        const Vector corner = ToVector(mesh.positions[a]);
        const Vector across =
            Cross(Difference(ToVector(mesh.positions[b]), corner), Difference(ToVector(mesh.positions[c]), corner));
        number += Dot(across, ToVector(mesh.normals[a])) > 0 ? 1 : 0;
    }
    return number;
}

TEST(MeshEdges, OfABoxAreItsTwelveCreases)
{
    const LvrMesh box = BoxMesh(10, 20, 30);
    const MeshEdges found = FindEdges(box);
    EXPECT_FALSE(found.hasBorders);
    const auto places = Places(box, found.edges);
    EXPECT_EQ(12U, places.size());
    for (const auto& [from, to] : places) {
        int directions = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            directions += from[axis] == to[axis] ? 0 : 1;
        EXPECT_EQ(1, directions) << "no diagonal of a face";
        EXPECT_EQ(1U, places.count({from, to})) << "once";
    }
}

TEST(MeshEdges, OfACylinderAreItsTwoCirclesAndNoSeam)
{
    const LvrMesh cylinder = CylinderMesh(5, 20, 24);
    const MeshEdges found = FindEdges(cylinder);
    EXPECT_FALSE(found.hasBorders);
    EXPECT_EQ(48U, found.edges.size());
    for (const MeshEdge& edge : found.edges)
        EXPECT_EQ(cylinder.positions[edge[0]][2], cylinder.positions[edge[1]][2]);
}

TEST(MeshEdges, OfAnOpenSheetAreItsBorders)
{
    LvrMesh sheet = BoxMesh(10, 20, 30);
    sheet.triangles.resize(2);
    const MeshEdges found = FindEdges(sheet);
    EXPECT_TRUE(found.hasBorders);
    EXPECT_EQ(4U, found.edges.size());
}

TEST(MeshEdges, OfATriangleWithoutAreaAreNoTrouble)
{
    LvrMesh mesh = BoxMesh(10, 20, 30);
    mesh.triangles.push_back({0, 0, 0});
    mesh.triangles.push_back({0, 1, 1});
    EXPECT_NO_THROW(FindEdges(mesh));
}

TEST(CoarseMesh, KeepsTheSidesOfAThinPlateApart)
{
    MeshDetail plate;
    plate.mesh = BoxMesh(100, 100, 0.5F);
    plate.edges = FindEdges(plate.mesh).edges;
    const MeshDetail coarse = Coarsen(plate, 10);
    EXPECT_EQ(0.5, BoxOf(coarse.mesh).Extent(2));
    EXPECT_EQ(coarse.mesh.triangles.size(), LookingOutwards(coarse.mesh));
    EXPECT_NO_THROW(CheckLvrMesh(coarse.mesh));
}

TEST(CoarseMesh, HasFewerTrianglesWithinItsError)
{
    const LvrMesh cylinder = CylinderMesh(50, 100, 2000);
    const ShownMesh shown = PrepareMesh(cylinder);
    EXPECT_TRUE(shown.isClosed);
    ASSERT_LT(3U, shown.details.size());
    EXPECT_EQ(cylinder, shown.details.front().mesh);
    for (std::size_t detail = 1; detail < shown.details.size(); ++detail) {
        const MeshDetail& coarse = shown.details[detail];
        EXPECT_GT(shown.details[detail - 1].mesh.triangles.size(), coarse.mesh.triangles.size());
        EXPECT_LT(shown.details[detail - 1].error, coarse.error);
        EXPECT_NO_THROW(CheckLvrMesh(coarse.mesh));
        for (const LvrMesh::Vector& position : coarse.mesh.positions)
            EXPECT_LE(std::hypot(position[0], position[1]), 50.01) << "no corner leaves the shape";
        for (const MeshEdge& edge : coarse.edges)
            ASSERT_LT(std::max(edge[0], edge[1]), coarse.mesh.positions.size());
    }
    EXPECT_GT(100U, shown.details.back().mesh.triangles.size());
}

TEST(CoarseMesh, KeepsTheColorsOfItsFaces)
{
    LvrMesh mesh;
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {0, 0, -1}, {1, 0, 0}};
    mesh.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 1, 0}, {0, 1, 0}, {0, 1, 0}};
    mesh.triangles = {{0, 1, 2}, {3, 4, 5}};
    EXPECT_TRUE(PrepareMesh(mesh).details.front().colors.empty());
    const LvrMesh::Color red{255, 0, 0, 255};
    mesh.colors = {red, {}};
    const MeshDetail finest = PrepareMesh(mesh).details.front();
    EXPECT_EQ((std::vector<LvrMesh::Color>{red, red, red, {}, {}, {}}), finest.colors);
    const MeshDetail coarse = Coarsen(finest, 0.001);
    EXPECT_EQ(coarse.mesh.positions.size(), coarse.colors.size());
    EXPECT_EQ(3, std::ranges::count(coarse.colors, red));
}

TEST(CoarseMesh, OfAMeshAtOnePointIsNotTried)
{
    LvrMesh mesh = BoxMesh(10, 10, 10);
    for (LvrMesh::Vector& position : mesh.positions)
        position = {1, 2, 3};
    const ShownMesh shown = PrepareMesh(mesh);
    EXPECT_EQ(1U, shown.details.size());
}

} // namespace

} // namespace openhost::testing
