#include "openhost/picture/PartMesh.h"

#include "openhost/geometry/FaceColors.h"
#include "openhost/geometry/KernelSpace.h"
#include "openhost/geometry/MeshShape.h"

#include <BRepAdaptor_Surface.hxx>
#include <BRepBndLib.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_Curve.hxx>
#include <Poly_PolygonOnTriangulation.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Pnt2d.hxx>
#include <gp_Trsf.hxx>
#include <gp_Vec.hxx>

#include <cmath>

namespace openhost {

namespace {

/// Largest angle between two neighbouring pieces of a curve or surface.
constexpr double AngularDeflection = 0.25;
/// Cosine of the least angle between two faces at which their edge is a crease; about 20 degrees.
constexpr double CreaseCosine = 0.94;

std::optional<gp_Vec> NormalAt(const BRepAdaptor_Surface& surface, const gp_Pnt2d& at)
{
    gp_Pnt point;
    gp_Vec alongU;
    gp_Vec alongV;
    surface.D1(at.X(), at.Y(), point, alongU, alongV);
    const gp_Vec normal = alongU.Crossed(alongV);
    const double length = normal.Magnitude();
    if (!(length > 1e-9 * alongU.Magnitude() * alongV.Magnitude()) || !(length > 0))
        return std::nullopt;
    return normal / length;
}

void AddFace(const TopoDS_Face& face, const std::optional<Color>& color, PartMesh& mesh)
{
    TopLoc_Location location;
    const Handle(Poly_Triangulation) triangulation = BRep_Tool::Triangulation(face, location);
    if (triangulation.IsNull())
        return;
    const gp_Trsf& placed = location.Transformation();
    const auto first = static_cast<std::uint32_t>(mesh.points.size());
    const int count = triangulation->NbNodes();
    for (int i = 1; i <= count; ++i)
        mesh.points.push_back(FromKernel(triangulation->Node(i).Transformed(placed).XYZ()));

    // Where the surface has no normal of its own, such as at the tip of a cone, the triangles around give one.
    std::vector<gp_XYZ> around(static_cast<std::size_t>(count));
    for (int i = 1; i <= triangulation->NbTriangles(); ++i) {
        std::array<int, 3> nodes{};
        triangulation->Triangle(i).Get(nodes[0], nodes[1], nodes[2]);
        PartMesh::Triangle triangle{{}, color};
        for (std::size_t k = 0; k < 3; ++k)
            triangle.corners[k] = first + static_cast<std::uint32_t>(nodes[k] - 1);
        mesh.triangles.push_back(triangle);
        const gp_XYZ corner = triangulation->Node(nodes[0]).XYZ();
        const gp_XYZ normal =
            (triangulation->Node(nodes[1]).XYZ() - corner).Crossed(triangulation->Node(nodes[2]).XYZ() - corner);
        for (const int node : nodes)
            around[static_cast<std::size_t>(node - 1)] += normal;
    }

    const BRepAdaptor_Surface surface(face, Standard_False);
    for (int i = 1; i <= count; ++i) {
        std::optional<gp_Vec> normal;
        if (triangulation->HasUVNodes())
            normal = NormalAt(surface, triangulation->UVNode(i));
        gp_XYZ direction = around[static_cast<std::size_t>(i - 1)];
        const double length = direction.Modulus();
        direction = length > 0 ? direction / length : gp_XYZ(0, 0, 1);
        mesh.normals.push_back(normal ? FromKernel(normal->XYZ())
                                      : FromKernel(gp_Vec(direction).Transformed(placed).XYZ()));
    }
}

/// The normal of `face` in the middle of `edge`.
std::optional<gp_Vec> NormalBeside(const TopoDS_Edge& edge, const TopoDS_Face& face)
{
    double first = 0;
    double last = 0;
    const Handle(Geom2d_Curve) curve = BRep_Tool::CurveOnSurface(edge, face, first, last);
    if (curve.IsNull())
        return std::nullopt;
    return NormalAt(BRepAdaptor_Surface(face, Standard_False), curve->Value((first + last) / 2));
}

bool IsCrease(const TopoDS_Edge& edge, const TopTools_ListOfShape& faces)
{
    if (BRep_Tool::Degenerated(edge))
        return false;
    if (faces.Extent() != 2)
        return true;
    const TopoDS_Face& one = TopoDS::Face(faces.First());
    const TopoDS_Face& other = TopoDS::Face(faces.Last());
    if (one.IsSame(other)) // the seam of a closed surface
        return false;
    const std::optional<gp_Vec> normal = NormalBeside(edge, one);
    const std::optional<gp_Vec> otherNormal = NormalBeside(edge, other);
    return !normal || !otherNormal || std::abs(normal->Dot(*otherNormal)) < CreaseCosine;
}

void AddLine(const TopoDS_Edge& edge, const TopoDS_Face& face, PartMesh& mesh)
{
    TopLoc_Location location;
    const Handle(Poly_Triangulation) triangulation = BRep_Tool::Triangulation(face, location);
    if (triangulation.IsNull())
        return;
    const Handle(Poly_PolygonOnTriangulation) polygon =
        BRep_Tool::PolygonOnTriangulation(edge, triangulation, location);
    if (polygon.IsNull())
        return;
    std::vector<Vector> line;
    for (int i = 1; i <= polygon->NbNodes(); ++i) {
        line.push_back(FromKernel(triangulation->Node(polygon->Node(i)).Transformed(location.Transformation()).XYZ()));
    }
    mesh.lines.push_back(std::move(line));
}

std::optional<Color> ToColor(const std::optional<SurfaceColor>& color)
{
    if (!color)
        return std::nullopt;
    Color bytes{};
    for (std::size_t part = 0; part < bytes.size(); ++part)
        bytes[part] = static_cast<std::uint8_t>(std::lround(255 * (*color)[part]));
    return bytes;
}

} // namespace

PartMesh MeshPart(const TopoDS_Shape& shape, const PartColors& colors, double deflection)
{
    MeshFacesAndEdges(shape, deflection, AngularDeflection);

    PartMesh mesh;
    const FaceColors colorOf(shape, colors);
    for (TopExp_Explorer faces(shape, TopAbs_FACE); faces.More(); faces.Next())
        AddFace(TopoDS::Face(faces.Current()), ToColor(colorOf(faces.Current())), mesh);
    TopTools_IndexedDataMapOfShapeListOfShape edges;
    TopExp::MapShapesAndAncestors(shape, TopAbs_EDGE, TopAbs_FACE, edges);
    for (int i = 1; i <= edges.Extent(); ++i) {
        const TopoDS_Edge& edge = TopoDS::Edge(edges.FindKey(i));
        if (!edges(i).IsEmpty() && IsCrease(edge, edges(i)))
            AddLine(edge, TopoDS::Face(edges(i).First()), mesh);
    }
    return mesh;
}

std::optional<Box> BoxAround(const TopoDS_Shape& shape)
{
    Bnd_Box bounds;
    BRepBndLib::Add(shape, bounds, Standard_False);
    return FromKernel(bounds);
}

} // namespace openhost
