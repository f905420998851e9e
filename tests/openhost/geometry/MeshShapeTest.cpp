#include "openhost/geometry/MeshShape.h"

#include "tests/support/FailingMemory.h"

#include <gtest/gtest.h>

#include <BRepAdaptor_Surface.hxx>
#include <BRepAlgoAPI_Common.hxx>
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <GeomAPI_ProjectPointOnSurf.hxx>
#include <GeomAbs_SurfaceType.hxx>
#include <Geom_Surface.hxx>
#include <IMeshTools_MeshAlgoType.hxx>
#include <Poly_PolygonOnTriangulation.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Ax2.hxx>
#include <gp_Pln.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>
#include <gp_XYZ.hxx>

#include <algorithm>
#include <array>
#include <new>
#include <vector>

namespace {

using namespace openhost;

constexpr double Deflection = 0.05;
constexpr double Angle = 0.3;

TopoDS_Compound Compound(const std::vector<TopoDS_Shape>& children)
{
    const BRep_Builder builder;
    TopoDS_Compound compound;
    builder.MakeCompound(compound);
    for (const TopoDS_Shape& child : children)
        builder.Add(compound, child);
    return compound;
}

TopoDS_Shape Moved(const TopoDS_Shape& shape, double x)
{
    gp_Trsf move;
    move.SetTranslation({x, 0, 0});
    return shape.Moved(move);
}

TopoDS_Face Polygon(const std::vector<std::array<double, 2>>& corners)
{
    BRepBuilderAPI_MakePolygon outline;
    for (const auto& [x, y] : corners)
        outline.Add(gp_Pnt(x, y, 0));
    outline.Close();
    return BRepBuilderAPI_MakeFace(gp_Pln(), outline.Wire(), Standard_True);
}

struct FaceMesh {
    std::vector<std::array<double, 3>> nodes;
    std::vector<std::array<int, 3>> triangles;

    bool operator==(const FaceMesh&) const = default;
};

/// The triangles of each face, in the order of the faces.
std::vector<FaceMesh> Meshes(const TopoDS_Shape& shape)
{
    std::vector<FaceMesh> meshes;
    for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
        FaceMesh& mesh = meshes.emplace_back();
        TopLoc_Location location;
        const Handle(Poly_Triangulation) kept = BRep_Tool::Triangulation(TopoDS::Face(face.Current()), location);
        if (kept.IsNull())
            continue;
        for (int node = 1; node <= kept->NbNodes(); ++node)
            mesh.nodes.push_back({kept->Node(node).X(), kept->Node(node).Y(), kept->Node(node).Z()});
        for (int index = 1; index <= kept->NbTriangles(); ++index) {
            std::array<int, 3> corners{};
            kept->Triangle(index).Get(corners[0], corners[1], corners[2]);
            mesh.triangles.push_back(corners);
        }
    }
    return meshes;
}

/// The triangles of the faces of a copy of `shape`, which the kernel alone meshes.
std::vector<FaceMesh> MeshesOfTheKernel(const TopoDS_Shape& shape, IMeshTools_MeshAlgoType algorithm)
{
    const TopoDS_Shape copy = BRepBuilderAPI_Copy(shape).Shape();
    BRepMesh_IncrementalMesh mesh;
    mesh.ChangeParameters().Deflection = Deflection;
    mesh.ChangeParameters().Angle = Angle;
    mesh.ChangeParameters().MeshAlgo = algorithm;
    mesh.SetShape(copy);
    mesh.Perform();
    return Meshes(copy);
}

/// Each face has the triangles that the kernel alone gives it, by the algorithm that suits its surface.
void ExpectMeshOfTheKernel(const TopoDS_Shape& shape)
{
    const TopoDS_Shape ours = BRepBuilderAPI_Copy(shape).Shape();
    MeshFaces(ours, Deflection, Angle);
    const std::vector<FaceMesh> meshes = Meshes(ours);
    const TopoDS_Shape withEdges = BRepBuilderAPI_Copy(shape).Shape();
    MeshFacesAndEdges(withEdges, Deflection, Angle);
    EXPECT_EQ(meshes, Meshes(withEdges));

    const std::vector<FaceMesh> watson = MeshesOfTheKernel(shape, IMeshTools_MeshAlgoType_Watson);
    const std::vector<FaceMesh> delabella = MeshesOfTheKernel(shape, IMeshTools_MeshAlgoType_Delabella);
    std::size_t number = 0;
    for (TopExp_Explorer face(ours, TopAbs_FACE); face.More(); face.Next(), ++number) {
        SCOPED_TRACE(number);
        const GeomAbs_SurfaceType surface = BRepAdaptor_Surface(TopoDS::Face(face.Current())).GetType();
        const bool isRound = surface == GeomAbs_Cone || surface == GeomAbs_Sphere;
        EXPECT_EQ(isRound ? watson.at(number) : delabella.at(number), meshes.at(number));
        EXPECT_FALSE(meshes.at(number).triangles.empty());
    }
}

/// The largest distance from `surface` of the middle of a triangle of `mesh`, which lies where the surface does.
double FurthestFrom(const Handle(Geom_Surface) & surface, const FaceMesh& mesh)
{
    double furthest = 0;
    for (const std::array<int, 3>& triangle : mesh.triangles) {
        gp_XYZ middle;
        for (const int node : triangle) {
            const std::array<double, 3>& corner = mesh.nodes.at(static_cast<std::size_t>(node) - 1);
            middle += gp_XYZ(corner[0], corner[1], corner[2]) / 3;
        }
        furthest = std::max(furthest, GeomAPI_ProjectPointOnSurf(gp_Pnt(middle), surface).LowerDistance());
    }
    return furthest;
}

TEST(MeshShape, BodiesApartHaveTheTrianglesOfTheKernel)
{
    std::vector<TopoDS_Shape> bodies;
    for (int number = 1; number <= 40; ++number)
        bodies.push_back(Moved(number % 2 == 0 ? BRepPrimAPI_MakeSphere(number).Shape()
                                               : BRepPrimAPI_MakeCylinder(number, 2 * number).Shape(),
                               100 * number));
    ExpectMeshOfTheKernel(Compound(bodies));
}

TEST(MeshShape, BodiesWithinCompoundsHaveTheTrianglesOfTheKernel)
{
    const TopoDS_Shape pair = Compound({BRepPrimAPI_MakeSphere(3).Shape(), BRepPrimAPI_MakeBox(1, 2, 3).Shape()});
    ExpectMeshOfTheKernel(Compound({pair, Compound({}), Compound({Moved(pair, 20)}), Moved(pair, 40)}));
}

TEST(MeshShape, BodiesThatShareEdgesHaveTheTrianglesOfTheKernel)
{
    std::vector<TopoDS_Shape> faces;
    for (TopExp_Explorer face(BRepPrimAPI_MakeCylinder(5, 10).Shape(), TopAbs_FACE); face.More(); face.Next())
        faces.push_back(face.Current());
    ASSERT_EQ(3U, faces.size());
    ExpectMeshOfTheKernel(Compound(faces));
}

TEST(MeshShape, OneBodyAtManyPlacesHasTheTrianglesOfTheKernel)
{
    const TopoDS_Shape ball = BRepPrimAPI_MakeSphere(5).Shape();
    std::vector<TopoDS_Shape> balls;
    for (int number = 0; number < 40; ++number)
        balls.push_back(Moved(ball, 20 * number));
    ExpectMeshOfTheKernel(Compound(balls));
}

TEST(MeshShape, ABodyOfManyFacesHasTheTrianglesOfTheKernel)
{
    TopoDS_Shape body = BRepPrimAPI_MakeBox(100, 100, 20);
    for (int number = 0; number < 16; ++number)
        body = BRepAlgoAPI_Cut(body, Moved(BRepPrimAPI_MakeCylinder(2, 30).Shape(), 6 * number)).Shape();
    ExpectMeshOfTheKernel(body);
}

TEST(MeshShape, TrianglesKeepWithinTheDeflection)
{
    const TopoDS_Shape hexagon =
        BRepPrimAPI_MakePrism(Polygon({{8, 0}, {4, 7}, {-4, 7}, {-8, 0}, {-4, -7}, {4, -7}}), gp_Vec(0, 0, 5));
    const TopoDS_Shape bodies[] = {
        BRepAlgoAPI_Common(hexagon, BRepPrimAPI_MakeCone(6.65, 15.31, 5).Shape()).Shape(), // the head of a screw
        BRepPrimAPI_MakeTorus(20, 3), BRepPrimAPI_MakeCylinder(3, 40)};
    for (const TopoDS_Shape& body : bodies) {
        MeshFaces(body, Deflection, Angle);
        const std::vector<FaceMesh> meshes = Meshes(body);
        std::size_t number = 0;
        for (TopExp_Explorer face(body, TopAbs_FACE); face.More(); face.Next(), ++number) {
            TopLoc_Location location; // of both, the surface and the triangles
            const Handle(Geom_Surface) surface = BRep_Tool::Surface(TopoDS::Face(face.Current()), location);
            EXPECT_LE(FurthestFrom(surface, meshes.at(number)), Deflection) << number;
        }
    }
}

TEST(MeshShape, AnOutlineThatDelabellaRefusesIsMeshedAllTheSame)
{
    const TopoDS_Face face = Polygon({{3, 6}, {-4, -10}, {-4, -8}, {-10, 9}, {-9, -1}}); // crosses itself
    EXPECT_TRUE(MeshesOfTheKernel(face, IMeshTools_MeshAlgoType_Delabella).at(0).triangles.empty());

    MeshFaces(face, Deflection, Angle);
    EXPECT_FALSE(Meshes(face).at(0).triangles.empty());
}

TEST(MeshShape, AMomentWithoutMemoryDoesNotChangeTheTriangles)
{
    const TopoDS_Face face = Polygon({{0, 0}, {9, 1}, {12, 8}, {7, 6}, {5, 13}, {3, 5}, {-6, 9}});
    const std::vector<FaceMesh> expected = MeshesOfTheKernel(face, IMeshTools_MeshAlgoType_Delabella);
    EXPECT_NE(expected, MeshesOfTheKernel(face, IMeshTools_MeshAlgoType_Watson));

    int meshed = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const TopoDS_Shape copy = BRepBuilderAPI_Copy(face).Shape();
        try {
            memory.During([&] { MeshFaces(copy, Deflection, Angle); });
        } catch (const std::bad_alloc&) {
            return;
        } catch (const Standard_Failure&) {
            return;
        }
        EXPECT_EQ(expected, Meshes(copy));
        ++meshed;
    });
    EXPECT_GT(failures, meshed);
    EXPECT_GT(meshed, 1);
}

/// Whether each edge of each face has points among the triangles of the face, or none of them.
void ExpectPointsOnEdges(const TopoDS_Shape& shape, bool expected)
{
    for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
        TopLoc_Location location;
        const Handle(Poly_Triangulation) kept = BRep_Tool::Triangulation(TopoDS::Face(face.Current()), location);
        ASSERT_FALSE(kept.IsNull());
        for (TopExp_Explorer edge(face.Current(), TopAbs_EDGE); edge.More(); edge.Next())
            EXPECT_EQ(expected,
                      !BRep_Tool::PolygonOnTriangulation(TopoDS::Edge(edge.Current()), kept, location).IsNull());
    }
}

TEST(MeshShape, EdgesHaveTheirPointsWhenTheyAreAskedFor)
{
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
    MeshFacesAndEdges(box, Deflection, Angle);
    ExpectPointsOnEdges(box, true);

    const TopoDS_Shape bare = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
    MeshFaces(bare, Deflection, Angle);
    ExpectPointsOnEdges(bare, false);
}

TEST(MeshShape, RefusesADeflectionOfNothing)
{
    EXPECT_THROW(MeshFaces(BRepPrimAPI_MakeBox(1, 1, 1), 0, Angle), Standard_Failure);
}

TEST(MeshShape, ANakedFaceLeavesTheOthersTheirTriangles)
{
    const BRep_Builder builder;
    TopoDS_Face naked;
    builder.MakeFace(naked);
    const TopoDS_Shape ball = BRepPrimAPI_MakeSphere(5).Shape();
    MeshFaces(Compound({naked, ball}), Deflection, Angle);

    const std::vector<FaceMesh> meshes = Meshes(Compound({naked, ball}));
    ASSERT_EQ(2U, meshes.size());
    EXPECT_TRUE(meshes[0].triangles.empty());
    EXPECT_FALSE(meshes[1].triangles.empty());
}

} // namespace
