// Documents with simple solids, for tests of what is made of geometry.
#pragma once

#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <gp_Pnt.hxx>

#include <algorithm>
#include <string>
#include <vector>

namespace openhost::testing {

/// Writes parts and products into a folder of its own.
class SolidDocuments {
public:
    std::filesystem::path Path(const std::string& fileName) const { return folder_.Path() / fileName; }

    /// The part `fileName` with the box between two corners, under the part number `partNumber`.
    void Box(const std::string& fileName, const std::string& partNumber, const std::array<double, 3>& lowest,
             const std::array<double, 3>& highest) const
    {
        Part(fileName, partNumber,
             BRepPrimAPI_MakeBox(gp_Pnt(lowest[0], lowest[1], lowest[2]), gp_Pnt(highest[0], highest[1], highest[2]))
                 .Shape());
    }

    void Part(const std::string& fileName, const std::string& partNumber, const TopoDS_Shape& shape) const
    {
        CadDocument document;
        document.partNumber = partNumber;
        document.geometry = EncodeShape(shape);
        WriteDocument(document, Path(fileName));
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
        WriteDocument(document, Path(fileName));
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
