#include "openhost/lvr/WriteStl.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

namespace openhost::testing {

namespace {

struct Facet {
    LvrMesh::Vector normal;
    std::array<LvrMesh::Vector, 3> corners;
    std::uint16_t attribute;
};

Facet FacetAt(const std::string& bytes, std::size_t index)
{
    Facet facet{};
    std::memcpy(&facet, bytes.data() + 84 + 50 * index, 50);
    return facet;
}

LvrMesh Mesh()
{
    LvrMesh mesh;
    mesh.positions = {{0, 0, 0}, {2, 0, 0}, {0, 3, 0}, {0, 0, 5}};
    mesh.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {1, 0, 0}};
    mesh.triangles = {{0, 1, 2}, {0, 2, 3}, {1, 1, 2}};
    return mesh;
}

} // namespace

TEST(Stl, HasAHeaderThatIsNotTheOneOfTextFilesAndTheNumberOfFacets)
{
    const TemporaryFolder folder;
    WriteStl(folder.Path() / "a.stl", Mesh());
    const std::string bytes = ReadFile(folder.Path() / "a.stl");
    ASSERT_EQ(bytes.size(), 84U + 3 * 50);
    EXPECT_FALSE(bytes.starts_with("solid"));
    EXPECT_EQ(std::string("\3\0\0\0", 4), bytes.substr(80, 4));
}

TEST(Stl, FacetsAreTheTrianglesWithTheNormalsOfTheirPlanes)
{
    const TemporaryFolder folder;
    WriteStl(folder.Path() / "a.stl", Mesh());
    const std::string bytes = ReadFile(folder.Path() / "a.stl");
    const Facet first = FacetAt(bytes, 0);
    EXPECT_EQ((LvrMesh::Vector{0, 0, 1}), first.normal);
    EXPECT_EQ((LvrMesh::Vector{0, 0, 0}), first.corners[0]);
    EXPECT_EQ((LvrMesh::Vector{2, 0, 0}), first.corners[1]);
    EXPECT_EQ((LvrMesh::Vector{0, 3, 0}), first.corners[2]);
    EXPECT_EQ(0, first.attribute);
    EXPECT_EQ((LvrMesh::Vector{1, 0, 0}), FacetAt(bytes, 1).normal);
}

TEST(Stl, ATriangleWithoutAreaHasNoNormal)
{
    const TemporaryFolder folder;
    WriteStl(folder.Path() / "a.stl", Mesh());
    EXPECT_EQ((LvrMesh::Vector{0, 0, 0}), FacetAt(ReadFile(folder.Path() / "a.stl"), 2).normal);
}

TEST(Stl, AMeshThatIsNoneLeavesTheOldFile)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "a.stl") << "old";
    EXPECT_THROW(WriteStl(folder.Path() / "a.stl", LvrMesh{}), LvrError);
    EXPECT_EQ("old", ReadFile(folder.Path() / "a.stl"));
}

} // namespace openhost::testing
