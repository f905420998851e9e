// The light representation: its bytes, and every way in which they can be wrong.

#include "openhost/lvr/LvrMesh.h"
#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <limits>

namespace openhost::testing {

namespace {

using ::testing::HasSubstr;

/// A corner of a cube: three triangles, of which two share an edge but no vertex.
LvrMesh Corner()
{
    LvrMesh mesh;
    mesh.positions = {{0, 0, 0}, {2, 0, 0}, {0, 3, 0}, {0, 0, 0}, {0, 0, -4}, {2, 0, 0}};
    mesh.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 1, 0}, {0, 1, 0}, {0, 1, 0}};
    mesh.triangles = {{0, 1, 2}, {3, 4, 5}};
    return mesh;
}

template <class Value>
std::string With(std::string bytes, std::size_t offset, Value value)
{
    return bytes.replace(offset, sizeof(value), reinterpret_cast<const char*>(&value), sizeof(value));
}

template <class Value>
Value At(const std::string& bytes, std::size_t offset)
{
    Value value;
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

/// Why the bytes are refused; empty when they are not.
std::string Refusal(const std::string& bytes)
{
    try {
        ReadLvrBytes(bytes);
        return {};
    } catch (const LvrError& error) {
        return error.what();
    }
}

std::string Refusal(const LvrMesh& mesh)
{
    try {
        EncodeLvr(mesh);
        return {};
    } catch (const LvrError& error) {
        return error.what();
    }
}

constexpr std::size_t HeaderSize = 44;
constexpr std::size_t FirstNormal = HeaderSize + 6 * 12;
constexpr std::size_t FirstTriangle = FirstNormal + 6 * 12;

} // namespace

TEST(LightRepresentation, BytesStandWhereTheTableSays)
{
    const std::string bytes = EncodeLvr(Corner());
    ASSERT_EQ(bytes.size(), 44U + 24 * 6 + 12 * 2);
    EXPECT_EQ("ZLVR", bytes.substr(0, 4));
    EXPECT_EQ(std::string("\1\0\0\0\1\0\0\0\6\0\0\0\2\0\0\0", 16), bytes.substr(4, 16));
    EXPECT_EQ((LvrMesh::Vector{0, 0, -4}), (At<LvrMesh::Vector>(bytes, 20))) << "lowest corner";
    EXPECT_EQ((LvrMesh::Vector{2, 3, 0}), (At<LvrMesh::Vector>(bytes, 20 + 12))) << "highest corner";
    EXPECT_EQ((LvrMesh::Vector{2, 0, 0}), (At<LvrMesh::Vector>(bytes, 44 + 12)));
    EXPECT_EQ((LvrMesh::Vector{0, 1, 0}), (At<LvrMesh::Vector>(bytes, 44 + 12 * 6 + 12 * 3)));
    EXPECT_EQ((LvrMesh::Triangle{3, 4, 5}), (At<LvrMesh::Triangle>(bytes, 44 + 24 * 6 + 12)));
    EXPECT_EQ(std::string("\0\0\0\x40", 4), bytes.substr(44 + 12, 4)) << "2 as a number of single precision";
}

TEST(LightRepresentation, ComesBackAsItWas)
{
    EXPECT_EQ(ReadLvrBytes(EncodeLvr(Corner())), Corner());
}

TEST(LightRepresentation, EveryShorterAndLongerFileIsRefused)
{
    const std::string bytes = EncodeLvr(Corner());
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_NE(Refusal(bytes.substr(0, size)), "") << size;
    EXPECT_THAT(Refusal(bytes + '\0'), HasSubstr("size of its counts"));
}

TEST(LightRepresentation, AnotherMarkVersionOrUnitIsRefused)
{
    const std::string bytes = EncodeLvr(Corner());
    EXPECT_THAT(Refusal(With(bytes, 0, 'z')), HasSubstr("not a light representation"));
    EXPECT_THAT(Refusal(With(bytes, 4, 2U)), HasSubstr("size of its counts")) << "that with colours";
    EXPECT_THAT(Refusal(With(bytes, 4, 3U)), HasSubstr("version 3"));
    EXPECT_THAT(Refusal(With(bytes, 8, 0U)), HasSubstr("unit 0"));
}

TEST(LightRepresentation, ColorsOfTrianglesComeBack)
{
    LvrMesh mesh = Corner();
    mesh.colors = {{255, 128, 0, 255}, {}};
    const std::string bytes = EncodeLvr(mesh);
    EXPECT_EQ(mesh, ReadLvrBytes(bytes));
    EXPECT_EQ(2U, At<std::uint32_t>(bytes, 4));
    EXPECT_EQ(EncodeLvr(Corner()).size() + 8, bytes.size());
    EXPECT_EQ(EncodeLvr(Corner()).substr(8), bytes.substr(8, bytes.size() - 16));
    EXPECT_THAT(Refusal(With(bytes, bytes.size() - 1, '\1')), HasSubstr("colour"));
    EXPECT_THAT(Refusal(With(bytes, bytes.size() - 4, '\1')), HasSubstr("colour")) << "of a triangle without one";
    EXPECT_THAT(Refusal(With(bytes, bytes.size() - 8, 0U)), HasSubstr("no triangle has one"));

    mesh.colors.resize(1);
    EXPECT_THAT(Refusal(mesh), HasSubstr("number of colours"));
}

TEST(LightRepresentation, APlacedPartKeepsItsColors)
{
    LvrMesh colored = Corner();
    colored.colors = {{255, 128, 0, 255}, {1, 2, 3, 255}};
    LvrMesh whole;
    AddPlaced(whole, Corner(), IdentityPlacement);
    EXPECT_TRUE(whole.colors.empty());
    AddPlaced(whole, colored, IdentityPlacement);
    AddPlaced(whole, Corner(), IdentityPlacement);
    EXPECT_EQ((std::vector<LvrMesh::Color>{{}, {}, colored.colors[0], colored.colors[1], {}, {}}), whole.colors);
}

TEST(LightRepresentation, CountsThatDoNotFitTheSizeAreRefusedWithoutMemoryForThem)
{
    const std::string bytes = EncodeLvr(Corner());
    for (const std::uint32_t count : {0U, 5U, 7U, 0x10000000U, 0xFFFFFFFFU}) {
        EXPECT_THAT(Refusal(With(bytes, 12, count)), HasSubstr("size of its counts")) << count;
        EXPECT_THAT(Refusal(With(bytes, 16, count)), HasSubstr("size of its counts")) << count;
    }
    // 24 bytes a vertex and 12 a triangle: one vertex less and two triangles more give the same size.
    EXPECT_NE(Refusal(With(With(bytes, 12, 5U), 16, 4U)), "");
}

TEST(LightRepresentation, AFileOfNothingIsRefused)
{
    const std::string bytes = EncodeLvr(Corner()).substr(0, HeaderSize);
    EXPECT_THAT(Refusal(With(With(bytes, 12, 0U), 16, 0U)), HasSubstr("no triangles"));
}

TEST(LightRepresentation, NumbersThatAreNoneOrOutOfRangeAreRefused)
{
    const std::string bytes = EncodeLvr(Corner());
    for (const float number : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                               -std::numeric_limits<float>::infinity(), 1.1e9F, -1.1e9F}) {
        EXPECT_THAT(Refusal(With(bytes, HeaderSize + 16, number)), HasSubstr("position")) << number;
        EXPECT_THAT(Refusal(With(bytes, FirstNormal, number)), HasSubstr("normal")) << number;
        EXPECT_THAT(Refusal(With(bytes, 20, number)), HasSubstr("bounding box")) << number;
    }
}

TEST(LightRepresentation, NormalsThatAreNotOfLengthOneAreRefused)
{
    for (const float length : {0.0F, 0.5F, 0.999F, 1.001F, 2.0F}) {
        LvrMesh mesh = Corner();
        mesh.normals[4] = {length, 0, 0};
        EXPECT_THAT(Refusal(mesh), HasSubstr("normal")) << length;
    }
    LvrMesh mesh = Corner();
    mesh.normals[4] = {0.57735F, -0.57735F, 0.57735F};
    EXPECT_EQ("", Refusal(mesh));
}

TEST(LightRepresentation, CornersThatAreNotThereAreRefused)
{
    const std::string bytes = EncodeLvr(Corner());
    for (const std::uint32_t corner : {6U, 0x7FFFFFFFU, 0xFFFFFFFFU})
        EXPECT_THAT(Refusal(With(bytes, FirstTriangle + 20, corner)), HasSubstr("corner")) << corner;
    EXPECT_EQ("", Refusal(With(bytes, FirstTriangle + 20, 0U)));
}

TEST(LightRepresentation, ABoxThatIsNotThatOfThePositionsIsRefused)
{
    const std::string bytes = EncodeLvr(Corner());
    EXPECT_THAT(Refusal(With(bytes, 20, -0.5F)), HasSubstr("bounding box"));
    EXPECT_THAT(Refusal(With(bytes, 40, 0.5F)), HasSubstr("bounding box"));
}

TEST(LightRepresentation, AMeshThatIsNoneIsNotWritten)
{
    EXPECT_THAT(Refusal(LvrMesh{}), HasSubstr("no triangles"));
    LvrMesh mesh = Corner();
    mesh.triangles.clear();
    EXPECT_THAT(Refusal(mesh), HasSubstr("no triangles"));
    mesh = Corner();
    mesh.normals.pop_back();
    EXPECT_THAT(Refusal(mesh), HasSubstr("number of normals"));
    mesh = Corner();
    mesh.triangles.back()[2] = 6;
    EXPECT_THAT(Refusal(mesh), HasSubstr("corner"));
}

TEST(LightRepresentation, ATooLargeMeshIsNotWritten)
{
    LvrMesh mesh = Corner();
    mesh.triangles.resize(std::size_t{MaximumLvrTriangles} + 1);
    EXPECT_THAT(Refusal(mesh), HasSubstr("too large"));
    EXPECT_THROW(AddPlaced(mesh, Corner(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}), LvrError);
    EXPECT_EQ(6U, mesh.positions.size());
}

TEST(LightRepresentation, PlacedPartsAreTurnedAndThenShifted)
{
    LvrMesh mesh = Corner();
    // A quarter turn about z.
    AddPlaced(mesh, Corner(), {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30});
    ASSERT_EQ(12U, mesh.positions.size());
    EXPECT_EQ((LvrMesh::Vector{10, 22, 30}), mesh.positions[7]);
    EXPECT_EQ((LvrMesh::Vector{7, 20, 30}), mesh.positions[8]);
    EXPECT_EQ((LvrMesh::Vector{-1, 0, 0}), mesh.normals[9]) << "a normal is not shifted";
    EXPECT_EQ((LvrMesh::Triangle{9, 10, 11}), mesh.triangles[3]);
    EXPECT_EQ((LvrMesh::Triangle{3, 4, 5}), mesh.triangles[1]);
}

TEST(LightRepresentationFile, ComesBackAsItWas)
{
    const TemporaryFolder folder;
    WriteLvr(folder.Path() / "a.lvr", Corner());
    EXPECT_EQ(ReadLvr(folder.Path() / "a.lvr"), Corner());
}

TEST(LightRepresentationFile, AFailedWriteLeavesTheOldFileAndNothingBeside)
{
    const TemporaryFolder folder;
    WriteLvr(folder.Path() / "a.lvr", Corner());
    EXPECT_THROW(WriteLvr(folder.Path() / "a.lvr", LvrMesh{}), LvrError);
    EXPECT_EQ(ReadLvr(folder.Path() / "a.lvr"), Corner());
    EXPECT_THROW(WriteLvr(folder.Path() / "missing" / "a.lvr", Corner()), std::system_error);
    std::filesystem::create_directory(folder.Path() / "b.lvr");
    EXPECT_THROW(WriteLvr(folder.Path() / "b.lvr", Corner()), std::system_error);
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(folder.Path()), {}));
}

TEST(LightRepresentationFile, WhatCannotBeReadIsNamed)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "short.lvr") << "ZLVR";
    for (const char* name : {"missing.lvr", "short.lvr", "."})
        try {
            ReadLvr(folder.Path() / name);
            ADD_FAILURE() << name;
        } catch (const LvrError& error) {
            EXPECT_THAT(error.what(), HasSubstr((folder.Path() / name).string() + ": "));
        }
}

TEST(LightRepresentationFile, OneLargerThanAnyRepresentationIsNotRead)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "a.lvr") << "ZLVR";
    std::filesystem::resize_file(folder.Path() / "a.lvr", std::uintmax_t{1} << 40);
    EXPECT_THROW(ReadLvr(folder.Path() / "a.lvr"), LvrError);
}

} // namespace openhost::testing
