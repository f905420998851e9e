#include "openhost/geometry/MeshShape.h"

#include <gtest/gtest.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Ax2.hxx>

#include <array>
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

/// Meshes a copy of `shape`, and another by the kernel alone.
void ExpectMeshOfTheKernel(const TopoDS_Shape& shape)
{
    const TopoDS_Shape ours = BRepBuilderAPI_Copy(shape).Shape();
    const TopoDS_Shape theirs = BRepBuilderAPI_Copy(shape).Shape();
    MeshShape(ours, Deflection, Angle);
    const BRepMesh_IncrementalMesh kept(theirs, Deflection, Standard_False, Angle);

    const std::vector<FaceMesh> meshes = Meshes(ours);
    EXPECT_EQ(Meshes(theirs), meshes);
    for (const FaceMesh& mesh : meshes)
        EXPECT_FALSE(mesh.triangles.empty());
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

TEST(MeshShape, RefusesADeflectionOfNothing)
{
    EXPECT_THROW(MeshShape(BRepPrimAPI_MakeBox(1, 1, 1), 0, Angle), Standard_Failure);
}

TEST(MeshShape, ANakedFaceLeavesTheOthersTheirTriangles)
{
    const BRep_Builder builder;
    TopoDS_Face naked;
    builder.MakeFace(naked);
    const TopoDS_Shape ball = BRepPrimAPI_MakeSphere(5).Shape();
    MeshShape(Compound({naked, ball}), Deflection, Angle);

    const std::vector<FaceMesh> meshes = Meshes(Compound({naked, ball}));
    ASSERT_EQ(2U, meshes.size());
    EXPECT_TRUE(meshes[0].triangles.empty());
    EXPECT_FALSE(meshes[1].triangles.empty());
}

} // namespace
