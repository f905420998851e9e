#include "openhost/geometry/Tessellation.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <gtest/gtest.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Vertex.hxx>
#include <gp_Ax1.hxx>
#include <gp_Pnt.hxx>
#include <gp_Trsf.hxx>

#include <cmath>
#include <numbers>

namespace openhost::testing {

namespace {

Vector FacetNormal(const LvrMesh& mesh, const LvrMesh::Triangle& triangle)
{
    const Vector corner = ToVector(mesh.positions[triangle[0]]);
    return Cross(Difference(ToVector(mesh.positions[triangle[1]]), corner),
                 Difference(ToVector(mesh.positions[triangle[2]]), corner));
}

/// Positive when the corners are counterclockwise as seen from outside.
double VolumeOf(const LvrMesh& mesh)
{
    double volume = 0;
    for (const LvrMesh::Triangle& triangle : mesh.triangles)
        volume += Dot(ToVector(mesh.positions[triangle[0]]),
                      Cross(ToVector(mesh.positions[triangle[1]]), ToVector(mesh.positions[triangle[2]]))) /
                  6;
    return volume;
}

double AreaOf(const LvrMesh& mesh)
{
    double area = 0;
    for (const LvrMesh::Triangle& triangle : mesh.triangles) {
        const Vector normal = FacetNormal(mesh, triangle);
        area += std::sqrt(Dot(normal, normal)) / 2;
    }
    return area;
}

/// A plate with a hole, whose inner face is a reversed one.
TopoDS_Shape Plate()
{
    return BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(gp_Pnt(-10, -10, 0), gp_Pnt(10, 10, 5)).Shape(),
                           BRepPrimAPI_MakeCylinder(4, 5).Shape())
        .Shape();
}

TopoDS_Shape Placed(const TopoDS_Shape& shape)
{
    gp_Trsf turn;
    turn.SetRotation(gp_Ax1(gp_Pnt(1, 2, 3), gp_Dir(1, 1, 0)), 1.2);
    return shape.Located(TopLoc_Location(turn));
}

void ExpectVertexNormalsToFollowTheTriangles(const LvrMesh& mesh)
{
    for (const LvrMesh::Triangle& triangle : mesh.triangles) {
        const Vector normal = FacetNormal(mesh, triangle);
        for (const std::uint32_t corner : triangle)
            EXPECT_GT(Dot(normal, ToVector(mesh.normals[corner])), 0) << corner;
    }
}

} // namespace

TEST(Tessellation, ABoxIsTwelveTrianglesOfItsVolumeAndArea)
{
    const LvrMesh mesh = TessellateShape(BRepPrimAPI_MakeBox(gp_Pnt(1, 2, 3), gp_Pnt(11, 22, 8)).Shape());
    EXPECT_EQ(12U, mesh.triangles.size());
    EXPECT_EQ(24U, mesh.positions.size()) << "each face has vertices of its own";
    EXPECT_NEAR(VolumeOf(mesh), 1000, 1e-3);
    EXPECT_NEAR(AreaOf(mesh), 700, 1e-3);
    EXPECT_EQ((Box{{1, 2, 3}, {11, 22, 8}}), BoxOf(mesh));
    ExpectVertexNormalsToFollowTheTriangles(mesh);
}

TEST(Tessellation, TrianglesHaveTheColorsOfTheirFaces)
{
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
    EXPECT_TRUE(TessellateShape(box).colors.empty());
    const PartColors colors{SurfaceColor{1, 0, 0}, {{2, {0, 0.5, 0}}, {100, {0, 0, 1}}}};
    const LvrMesh mesh = TessellateShape(box, {}, colors);
    ASSERT_EQ(12U, mesh.colors.size());
    EXPECT_EQ(10, std::ranges::count(mesh.colors, LvrMesh::Color{255, 0, 0, 255}));
    EXPECT_EQ(2, std::ranges::count(mesh.colors, LvrMesh::Color{0, 128, 0, 255}));
    EXPECT_TRUE(TessellateShape(box, {}, {std::nullopt, {{100, {0, 0, 1}}}}).colors.empty());
}

TEST(Tessellation, ACopyHasItsFacesInTheSameOrder)
{
    // Colours are numbered by it.
    const TopoDS_Shape shape =
        BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(10, 20, 30).Shape(), BRepPrimAPI_MakeCylinder(4, 50).Shape()).Shape();
    PartColors colors;
    for (std::uint32_t face = 0; face < 7; ++face)
        colors.faces.push_back({face, {face / 10.0, 0, 0}});
    const TopoDS_Shape copy = DecodeShape({{}, EncodeBoundary(shape)});
    const TopoDS_Shape again = DecodeShape({{}, EncodeBoundary(copy)});
    EXPECT_EQ(TessellateShape(shape, {}, colors), TessellateShape(copy, {}, colors));
    EXPECT_EQ(TessellateShape(shape, {}, colors), TessellateShape(again, {}, colors));
}

TEST(Tessellation, TrianglesLookOutwardsOnReversedFacesToo)
{
    for (const TopoDS_Shape& shape : {Plate(), Placed(Plate())}) {
        const LvrMesh mesh = TessellateShape(shape);
        EXPECT_NEAR(VolumeOf(mesh), 5 * (400 - 16 * std::numbers::pi), 5);
        ExpectVertexNormalsToFollowTheTriangles(mesh);
    }
}

TEST(Tessellation, NormalsAreThoseOfTheSurfaceNotOfTheTriangles)
{
    for (const LvrMesh mesh = TessellateShape(BRepPrimAPI_MakeCylinder(5, 7).Shape());
         const LvrMesh::Triangle& triangle : mesh.triangles)
        for (const std::uint32_t corner : triangle) {
            const LvrMesh::Vector& normal = mesh.normals[corner];
            if (std::abs(normal[2]) > 0.5F)
                continue;
            EXPECT_NEAR(normal[0], mesh.positions[corner][0] / 5, 1e-5);
            EXPECT_NEAR(normal[1], mesh.positions[corner][1] / 5, 1e-5);
        }
}

TEST(Tessellation, PolesAndTipsHaveNormalsToo)
{
    for (const TopoDS_Shape& shape : {BRepPrimAPI_MakeSphere(5).Shape(), BRepPrimAPI_MakeCone(5, 0, 10).Shape(),
                                      BRepPrimAPI_MakeTorus(10, 3).Shape()})
        ExpectVertexNormalsToFollowTheTriangles(TessellateShape(shape));
}

TEST(Tessellation, TrianglesKeepTheTolerance)
{
    const LvrMesh mesh = TessellateShape(BRepPrimAPI_MakeSphere(50).Shape());
    const double chord = TessellationTolerance().chord * 100 * std::sqrt(3.0);
    for (const LvrMesh::Triangle& triangle : mesh.triangles) {
        Vector middle{};
        for (const std::uint32_t corner : triangle)
            for (std::size_t axis = 0; axis < 3; ++axis)
                middle[axis] += mesh.positions[corner][axis] / 3.0;
        EXPECT_GT(std::sqrt(Dot(middle, middle)), 50 - 1.1 * chord);
    }
    EXPECT_NEAR(AreaOf(mesh), 4 * std::numbers::pi * 2500, 0.01 * 4 * std::numbers::pi * 2500);
}

TEST(Tessellation, ASmallHoleInALargePlateIsRound)
{
    const TopoDS_Shape plate = BRepAlgoAPI_Cut(BRepPrimAPI_MakeBox(gp_Pnt(-500, -500, 0), gp_Pnt(500, 500, 5)).Shape(),
                                               BRepPrimAPI_MakeCylinder(1, 5).Shape())
                                   .Shape();
    std::size_t onTheHole = 0;
    for (const LvrMesh mesh = TessellateShape(plate); const LvrMesh::Vector& normal : mesh.normals)
        onTheHole += std::abs(normal[2]) < 0.5F && std::abs(normal[0]) < 0.99F && std::abs(normal[1]) < 0.99F ? 1 : 0;
    EXPECT_GE(onTheHole, 2 * (24U - 4));
}

TEST(Tessellation, AFinerToleranceGivesMoreTriangles)
{
    const TopoDS_Shape sphere = BRepPrimAPI_MakeSphere(50).Shape();
    const std::size_t coarse = TessellateShape(sphere, {0.01, 0.5}).triangles.size();
    const std::size_t fine = TessellateShape(sphere, {0.0005, 0.1}).triangles.size();
    EXPECT_GT(fine, 4 * coarse);
    EXPECT_EQ(TessellateShape(sphere, {0.01, 0.5}).triangles.size(), coarse) << "what was there before is replaced";
}

TEST(Tessellation, EqualShapesGiveEqualMeshes)
{
    EXPECT_EQ(TessellateShape(Plate()), TessellateShape(Plate()));
}

TEST(Tessellation, ShapesWithoutFacesAreRefused)
{
    EXPECT_THROW(TessellateShape({}), GeometryError);
    TopoDS_Compound empty;
    BRep_Builder().MakeCompound(empty);
    EXPECT_THROW(TessellateShape(empty), GeometryError);
    TopoDS_Vertex vertex;
    BRep_Builder().MakeVertex(vertex, gp_Pnt(1, 2, 3), 1e-7);
    EXPECT_THROW(TessellateShape(vertex), GeometryError);
}

} // namespace openhost::testing
