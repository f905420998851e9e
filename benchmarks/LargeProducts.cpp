// Writes a product of machine elements of many sizes, for programs that show it. Arguments: number of different parts,
// number of instances, folder. The product is PRODUCT.ZALProduct, its parts lie beside
// it, and all of it is in PRODUCT.step too.

#include "catalogue/items/Fasteners.h"
#include "catalogue/items/Machinery.h"
#include "catalogue/items/Structures.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/exchange/StepExport.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <TopoDS_Shape.hxx>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

namespace {

using namespace catalogue;

/// Bolts, nuts, washers, brackets and bearings in turn, each size once.
TopoDS_Shape ShapeOf(int number)
{
    const double step = number / 5;
    switch (number % 5) {
    case 0:
        return MakeBolt({.diameter = 8,
                         .pitch = 1.25,
                         .length = 30 + 0.1 * step,
                         .headHeight = 5.3,
                         .widthAcrossFlats = 13,
                         .threadLength = 22});
    case 1:
        return MakeNut({.diameter = 8, .pitch = 1.25, .height = 6 + 0.02 * step, .widthAcrossFlats = 13});
    case 2:
        return MakeWasher({.innerDiameter = 8.4, .outerDiameter = 16 + 0.05 * step, .thickness = 1.6});
    case 3:
        return MakeBracket({.leg = 40 + 0.1 * step,
                            .thickness = 4,
                            .width = 40,
                            .innerRadius = 2,
                            .outerRadius = 6,
                            .cornerRadius = 5,
                            .holeDiameter = 9});
    default:
        return MakeBearing({.bore = 20,
                            .outerDiameter = 47,
                            .width = 14 + 0.01 * step,
                            .cornerRadius = 1,
                            .innerRingShoulder = 28.7,
                            .outerRingShoulder = 38.7,
                            .ballDiameter = 7.9,
                            .balls = 8});
    }
}

/// In rows, layer over layer, so that the whole is about as high as wide.
openhost::Placement PlacementOf(int instance, int instances)
{
    const int side = std::max(1, static_cast<int>(std::ceil(std::cbrt(instances))));
    constexpr double Distance = 60;
    return {1, 0, 0, Distance * (instance % side),       0, 1, 0, Distance * (instance / side % side),
            0, 0, 1, Distance * (instance / side / side)};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4 || std::atoi(argv[1]) < 1 || std::atoi(argv[2]) < std::atoi(argv[1])) {
        std::cerr << "usage: LargeProducts PARTS INSTANCES FOLDER\n";
        return 2;
    }
    const int parts = std::atoi(argv[1]);
    const int instances = std::atoi(argv[2]);
    const std::filesystem::path folder = argv[3];
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.partNumber = "PRODUCT";
    for (int number = 0; number < parts; ++number) {
        openhost::CadDocument part;
        part.partNumber = "PART" + std::to_string(number);
        part.geometry = openhost::EncodeShape(ShapeOf(number));
        product.links.push_back(part.partNumber + ".ZALPart");
        openhost::WriteDocument(part, folder / product.links.back());
    }
    for (int instance = 0; instance < instances; ++instance)
        product.children.push_back(
            {"PART" + std::to_string(instance % parts) + "." + std::to_string(instance / parts + 1),
             static_cast<std::uint32_t>(instance % parts), PlacementOf(instance, instances)});
    openhost::WriteDocument(product, folder / "PRODUCT.ZALProduct");
    openhost::ExportStep(folder / "PRODUCT.ZALProduct", folder / "PRODUCT.step", {}, [](const std::string&) {});
}
