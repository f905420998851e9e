#include "openhost/geometry/Tessellation.h"

#include "openhost/geometry/FaceColors.h"
#include "openhost/geometry/KernelFailure.h"
#include "openhost/geometry/KernelSpace.h"
#include "openhost/geometry/MeshShape.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepBndLib.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GeomLib.hxx>
#include <Geom_Surface.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Trsf.hxx>

#include <algorithm>
#include <cmath>
#include <utility>

namespace openhost {

namespace {

/// The sums of the normals of the triangles at each node of `triangulation`, weighted by area.
std::vector<gp_XYZ> SumNormals(const Poly_Triangulation& triangulation)
{
    std::vector<gp_XYZ> sums(static_cast<std::size_t>(triangulation.NbNodes()));
    for (int index = 1; index <= triangulation.NbTriangles(); ++index) {
        std::array<int, 3> nodes{};
        triangulation.Triangle(index).Get(nodes[0], nodes[1], nodes[2]);
        const gp_XYZ corner = triangulation.Node(nodes[0]).XYZ();
        const gp_XYZ normal =
            (triangulation.Node(nodes[1]).XYZ() - corner) ^ (triangulation.Node(nodes[2]).XYZ() - corner);
        for (const int node : nodes)
            sums[static_cast<std::size_t>(node - 1)] += normal;
    }
    return sums;
}

/// The normals of the surface of `face` at the nodes of its triangulation, in the place of the surface. Where the
/// surface has none, as at the tip of a cone, that of the triangles stands in.
std::vector<gp_Dir> NormalsOf(const TopoDS_Face& face, const Poly_Triangulation& triangulation)
{
    constexpr double parallelTolerance = 1e-9;
    TopLoc_Location location;
    const Handle(Geom_Surface) surface = BRep_Tool::Surface(face, location);
    std::vector<gp_XYZ> sums;
    std::vector<gp_Dir> normals(static_cast<std::size_t>(triangulation.NbNodes()));
    for (std::size_t node = 0; node < normals.size(); ++node) {
        const int number = static_cast<int>(node) + 1;
        if (!surface.IsNull() && triangulation.HasUVNodes() &&
            GeomLib::NormEstim(surface, triangulation.UVNode(number), parallelTolerance, normals[node]) == 0)
            continue;
        if (sums.empty())
            sums = SumNormals(triangulation);
        // A node of nothing but triangles without area is seen by nobody: any direction will do.
        normals[node] = sums[node].Modulus() > 0 ? gp_Dir(sums[node]) : gp_Dir(0, 0, 1);
    }
    return normals;
}

/// Whether two corners fall together, as they do at the pole of a sphere.
bool IsLine(const LvrMesh& mesh, const LvrMesh::Triangle& triangle)
{
    const auto& [a, b, c] = triangle;
    return mesh.positions[a] == mesh.positions[b] || mesh.positions[b] == mesh.positions[c] ||
           mesh.positions[c] == mesh.positions[a];
}

void AddFace(const TopoDS_Face& face, LvrMesh& mesh)
{
    TopLoc_Location location;
    const Handle(Poly_Triangulation) triangulation = BRep_Tool::Triangulation(face, location);
    if (triangulation.IsNull())
        throw GeometryError("a face of the shape cannot be tessellated");

    const gp_Trsf& placement = location.Transformation();
    const bool reversed = face.Orientation() == TopAbs_REVERSED;
    const auto first = static_cast<std::uint32_t>(mesh.positions.size());
    for (int node = 1; node <= triangulation->NbNodes(); ++node)
        mesh.positions.push_back(ToLvr(FromKernel(triangulation->Node(node).Transformed(placement).XYZ())));
    for (const gp_Dir& normal : NormalsOf(face, *triangulation)) {
        const gp_XYZ placed = normal.Transformed(placement).XYZ();
        mesh.normals.push_back(ToLvr(FromKernel(reversed ? placed.Reversed() : placed)));
    }
    for (int index = 1; index <= triangulation->NbTriangles(); ++index) {
        int a = 0;
        int b = 0;
        int c = 0;
        triangulation->Triangle(index).Get(a, b, c);
        if (reversed)
            std::swap(b, c);
        const auto corner = [&](int node) { return first + static_cast<std::uint32_t>(node) - 1; };
        const LvrMesh::Triangle triangle{corner(a), corner(b), corner(c)};
        if (!IsLine(mesh, triangle))
            mesh.triangles.push_back(triangle);
    }
}

LvrMesh::Color ToLvr(const std::optional<SurfaceColor>& color)
{
    LvrMesh::Color bytes{};
    if (!color)
        return bytes;
    for (std::size_t part = 0; part < 3; ++part)
        bytes[part] = static_cast<std::uint8_t>(std::lround(255 * (*color)[part]));
    bytes[3] = 255;
    return bytes;
}

} // namespace

LvrMesh TessellateShape(const TopoDS_Shape& shape, const TessellationTolerance& tolerance, const PartColors& colors)
{
    if (shape.IsNull())
        throw GeometryError("a null shape has no triangles");
    LvrMesh mesh;
    try {
        Bnd_Box box;
        BRepBndLib::Add(shape, box, Standard_False);
        if (box.IsVoid())
            throw GeometryError("the shape has no extent");
        BRepTools::Clean(shape);
        MeshFaces(shape, tolerance.chord * std::sqrt(box.SquareExtent()), tolerance.angle);
        const FaceColors colorOf(shape, colors);
        for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
            AddFace(TopoDS::Face(face.Current()), mesh);
            if (!colors.IsEmpty())
                mesh.colors.resize(mesh.triangles.size(), ToLvr(colorOf(face.Current())));
        }
        if (std::ranges::none_of(mesh.colors, [](const LvrMesh::Color& color) { return color[3] != 0; }))
            mesh.colors.clear(); // as when the faces that have one have no triangles
    } catch (const Standard_Failure& failure) {
        throw GeometryError(ReasonOf(failure));
    }
    try {
        CheckLvrMesh(mesh);
    } catch (const LvrError& error) {
        throw GeometryError(error.what());
    }
    return mesh;
}

} // namespace openhost
