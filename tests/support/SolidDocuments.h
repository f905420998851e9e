// Documents with simple solids, for tests of what is made of geometry.
#pragma once

#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRep_Builder.hxx>
#include <BinTools.hxx>
#include <Poly_Triangulation.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Pnt.hxx>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace openhost::testing {

/// Writes parts and products into a folder of its own.
class SolidDocuments {
public:
    std::filesystem::path Path(const std::string& fileName) const { return folder_.Path() / fileName; }

    /// The same; the folders on the way to the file are there then.
    std::filesystem::path PlaceOf(const std::string& fileName) const
    {
        std::filesystem::create_directories(Path(fileName).parent_path());
        return Path(fileName);
    }

    /// The part `fileName` with the box between two corners, under the part number `partNumber`.
    void Box(const std::string& fileName, const std::string& partNumber, const Vector& lowest,
             const Vector& highest) const
    {
        Part(fileName, partNumber,
             BRepPrimAPI_MakeBox(gp_Pnt(lowest[0], lowest[1], lowest[2]), gp_Pnt(highest[0], highest[1], highest[2]))
                 .Shape());
    }

    void Part(const std::string& fileName, const std::string& partNumber, const TopoDS_Shape& shape,
              const PartColors& colors = {}) const
    {
        CadDocument document;
        document.partNumber = partNumber;
        document.geometry = EncodeShape(shape);
        document.geometry->colors = colors;
        WriteDocument(document, PlaceOf(fileName));
    }

    /// A part with a box and a face that has no surface but triangles, with nodes that are none: what EncodeShape does
    /// not write, but a file can hold.
    void DamagedTriangles(const std::string& fileName) const
    {
        TColgp_Array1OfPnt nodes(1, 3);
        nodes(1) = gp_Pnt(0, 0, 0);
        nodes(2) = gp_Pnt(10, 0, 0);
        nodes(3) = gp_Pnt(0, 0, 10);
        Poly_Array1OfTriangle triangles(1, 2);
        triangles(1) = Poly_Triangle(1, 2, 3);
        triangles(2) = Poly_Triangle(1, 2, 123456789);
        BRep_Builder builder;
        TopoDS_Face face;
        builder.MakeFace(face, new Poly_Triangulation(nodes, triangles));
        TopoDS_Compound compound;
        builder.MakeCompound(compound);
        builder.Add(compound, face);
        builder.Add(compound, BRepPrimAPI_MakeBox(1, 1, 1).Shape());
        std::ostringstream boundary;
        BinTools::Write(compound, boundary);
        CadDocument document;
        document.partNumber = "DAMAGED";
        document.geometry = DocumentGeometry{GeometryFacts{1, 7, 1, 1, {{0, 0, 0}, {1, 1, 1}}}, boundary.str()};
        WriteDocument(document, PlaceOf(fileName));
    }

    struct Child {
        std::string name;
        std::string link;
        Placement placement = IdentityPlacement;
    };

    void Product(const std::string& fileName, const std::string& partNumber, const std::vector<Child>& children) const
    {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.partNumber = partNumber;
        for (const Child& child : children) {
            auto link = std::ranges::find(document.links, child.link);
            if (link == document.links.end())
                link = document.links.insert(link, child.link);
            document.children.push_back(
                {child.name, static_cast<std::uint32_t>(link - document.links.begin()), child.placement});
        }
        WriteDocument(document, PlaceOf(fileName));
    }

    /// Products that each hold the next one twice, and the last one nothing: as many levels, told by their names from
    /// L0.ZALProduct.
    void Doubling(int levels) const
    {
        const auto name = [](int level) { return "L" + std::to_string(level) + ".ZALProduct"; };
        for (int level = 0; level + 1 < levels; ++level)
            Product(name(level), "L", {{"1", name(level + 1)}, {"2", name(level + 1)}});
        Product(name(levels - 1), "L", {});
    }

    /// Products that each hold the next one once.
    void Chain(int levels) const
    {
        const auto name = [](int level) { return "L" + std::to_string(level) + ".ZALProduct"; };
        for (int level = 0; level + 1 < levels; ++level)
            Product(name(level), "L", {{"1", name(level + 1)}});
        Product(name(levels - 1), "L", {});
    }

    /// How many files lie in the folder.
    std::size_t Files() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}));
    }

private:
    TemporaryFolder folder_;
};

} // namespace openhost::testing
