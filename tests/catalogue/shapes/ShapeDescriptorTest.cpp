#include "catalogue/shapes/ShapeDescriptor.h"
#include "tests/catalogue/shapes/TestShapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace catalogue::testing {

using openhost::LvrMesh;

namespace {

/// What two tessellations of one shape may differ by.
constexpr double Noise = 0.035;

double Between(const LvrMesh& one, const LvrMesh& other)
{
    return ShapeDistance(DescribeShape(one), DescribeShape(other));
}

} // namespace

TEST(ShapeDescriptor, IsTheSameForEqualMeshes)
{
    EXPECT_EQ(DescribeShape(BoxMesh(1, 2, 3)), DescribeShape(BoxMesh(1, 2, 3)));
    EXPECT_EQ(0, Between(BoxMesh(1, 2, 3), BoxMesh(1, 2, 3)));
}

TEST(ShapeDescriptor, StaysWhenAShapeIsTurnedAndMoved)
{
    EXPECT_LT(Between(BoxMesh(1, 2, 3), Moved(BoxMesh(1, 2, 3))), 0.005);
    EXPECT_LT(Between(CylinderMesh(2, 7, 24), Moved(CylinderMesh(2, 7, 24))), 0.005);
}

TEST(ShapeDescriptor, StaysForAnotherTessellation)
{
    EXPECT_LT(Between(BoxMesh(1, 2, 3), BoxMesh(1, 2, 3, 40)), Noise);
    EXPECT_LT(Between(CylinderMesh(2, 7, 24), CylinderMesh(2, 7, 200)), Noise);
}

TEST(ShapeDescriptor, StaysForAnotherOrderOfTrianglesAndVertices)
{
    const LvrMesh mesh = CylinderMesh(2, 7, 60);
    std::mt19937 random(1);
    LvrMesh shuffled = mesh;
    std::ranges::shuffle(shuffled.triangles, random);
    EXPECT_LT(Between(mesh, shuffled), Noise);

    LvrMesh renumbered = mesh;
    const auto last = static_cast<std::uint32_t>(mesh.positions.size() - 1);
    std::ranges::reverse(renumbered.positions);
    std::ranges::reverse(renumbered.normals);
    for (LvrMesh::Triangle& triangle : renumbered.triangles) {
        for (std::uint32_t& corner : triangle)
            corner = last - corner;
        std::ranges::rotate(triangle, triangle.begin() + 1);
    }
    EXPECT_LT(Between(mesh, renumbered), Noise);
}

TEST(ShapeDescriptor, OfAnEnlargedShapeDiffersInItsSizeAlone)
{
    const ShapeDescriptor one = DescribeShape(BoxMesh(1, 2, 3));
    ShapeDescriptor other = DescribeShape(Scaled(BoxMesh(1, 2, 3), 4));
    EXPECT_EQ(other.size, 4 * one.size);
    other.size = one.size;
    EXPECT_LT(ShapeDistance(one, other), 1e-5);
}

TEST(ShapeDescriptor, OfAMirroredShapeIsTheSame)
{
    // A corner bracket that no rotation makes its own mirror image of.
    LvrMesh bracket = BoxMesh(1, 2, 7);
    openhost::AddPlaced(bracket, BoxMesh(1, 2, 7), {0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 7});
    openhost::AddPlaced(bracket, BoxMesh(1, 2, 7), {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 9});
    EXPECT_LT(Between(bracket, Mirrored(bracket)), Noise);
}

TEST(ShapeDescriptor, HasTheMeanDistanceAsItsSize)
{
    // Of two points on the unit cube: 0.5214 on one side, 0.9264 on different ones, which five of six pairs are.
    EXPECT_NEAR(2 * (0.5214 + 5 * 0.9264) / 6, DescribeShape(BoxMesh(2, 2, 2, 8)).size, 0.01);
}

TEST(ShapeDescriptor, CountsEachPairOnce)
{
    double sum = 0;
    for (const std::uint8_t root : DescribeShape(BoxMesh(1, 2, 3)).pairs)
        sum += std::pow(root / 255.0, 3);
    // Each root is rounded.
    EXPECT_NEAR(1, sum, 0.02);
}

TEST(ShapeDescriptor, TellsAHollowFromABump)
{
    // The same surface looked at from the other side.
    LvrMesh inside = BoxMesh(1, 2, 3);
    for (LvrMesh::Vector& normal : inside.normals)
        for (float& coordinate : normal)
            coordinate = -coordinate;
    EXPECT_GT(Between(BoxMesh(1, 2, 3), inside), 0.5);
}

TEST(ShapeDescriptor, SomethingWithoutAreaOrExtentHasNone)
{
    LvrMesh line;
    line.positions = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
    line.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    line.triangles = {{0, 1, 2}, {0, 0, 1}};
    EXPECT_THROW(DescribeShape(line), ShapeError);
    EXPECT_THROW(DescribeShape(Scaled(BoxMesh(1, 2, 3), 1e-8F)), ShapeError);
}

TEST(ShapeDescriptor, OfASingleTriangleAndOfTheLargestCoordinatesIsFinite)
{
    LvrMesh triangle;
    triangle.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    triangle.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
    triangle.triangles = {{0, 1, 2}};
    const ShapeDescriptor flat = DescribeShape(triangle);
    const ShapeDescriptor large = DescribeShape(Scaled(BoxMesh(1, 1, 1), openhost::MaximumLvrCoordinate));
    EXPECT_TRUE(std::isfinite(ShapeDistance(flat, large)));
}

TEST(ShapeDescriptor, OpposedNormalsAtTheCornersOfATriangleAreNoError)
{
    LvrMesh mesh = BoxMesh(1, 2, 3);
    mesh.normals[0] = {1, 0, 0};
    mesh.normals[1] = {-1, 0, 0};
    EXPECT_TRUE(std::isfinite(Between(mesh, BoxMesh(1, 2, 3))));
}

TEST(ShapeDistance, IsSymmetricAndZeroForTheSame)
{
    const ShapeDescriptor box = DescribeShape(BoxMesh(1, 2, 3));
    const ShapeDescriptor rod = DescribeShape(CylinderMesh(1, 40, 48));
    EXPECT_EQ(0, ShapeDistance(box, box));
    EXPECT_EQ(ShapeDistance(box, rod), ShapeDistance(rod, box));
    EXPECT_GT(ShapeDistance(box, rod), 0.5);
}

TEST(ShapeDistance, GrowsWithSizeButStaysBelowThatOfAnotherShape)
{
    const LvrMesh rod = CylinderMesh(1, 10, 48);
    const double twice = Between(rod, Scaled(rod, 2));
    const double tenTimes = Between(rod, Scaled(rod, 10));
    const double thousandTimes = Between(rod, Scaled(rod, 1000));
    EXPECT_GT(twice, Noise);
    EXPECT_GT(tenTimes, twice);
    EXPECT_GT(thousandTimes, tenTimes);
    EXPECT_LT(thousandTimes, Between(rod, CylinderMesh(5, 5, 48)));
}

} // namespace catalogue::testing
