// The products of a STEP file, as the kernel reads them.
#pragma once

#include "openhost/documents/PartColors.h"
#include "openhost/space/Placement.h"

#include <NCollection_DataMap.hxx>
#include <TopTools_ShapeMapHasher.hxx>
#include <TopoDS_Shape.hxx>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace openhost {

/// Colours by the faces of a shape.
using ColoredFaces = NCollection_DataMap<TopoDS_Shape, SurfaceColor, TopTools_ShapeMapHasher>;

/// A product, once however often it is used. Texts are UTF-8, or what the file says instead.
struct StepProduct {
    struct Instance {
        std::string name;
        std::size_t product = 0; ///< position in the list
        Placement placement = IdentityPlacement;
    };

    std::string id;
    std::string name;
    std::string description;
    std::vector<std::string> layers; ///< of its shape and of what the shape consists of, each once
    TopoDS_Shape shape;              ///< in millimetres; null for an assembly
    ColoredFaces colors;             ///< of its faces
    bool isAssembly = false;
    std::vector<Instance> instances; ///< of an assembly
};

/// Each product after those that it holds; those that stand in no other one are `roots`.
struct StepProducts {
    std::vector<StepProduct> products;
    std::vector<std::size_t> roots;
};

/// Longest file that is read: the entities of a longer one need more memory than a job may have.
inline constexpr std::uintmax_t MaximumStepFileSize = std::uintmax_t{1} << 30;

/// Reads the file `path`: AP203, AP214, AP242. `warn` gets a line about each thing that is left out, `tell` how much is
/// done, from 0 to 1. Throws ExchangeError, which does not name the file, for one that is damaged, empty or endless,
/// for products in a circle and for a structure past the limits of a tree of documents; Standard_Failure when the
/// kernel gives up.
StepProducts ReadStepProducts(const std::filesystem::path& path, const std::function<void(const std::string&)>& warn,
                              const std::function<void(double)>& tell);

} // namespace openhost
