// A document of openhost: a part or a product, in memory and as a compound file.
//
// The compound file holds one storage, ZALOR1, with a stream for each kind of data. A reader passes over
// streams that it does not know. Geometry is bytes here; openhost/geometry knows what they mean.
#pragma once

#include "openhost/documents/CompoundFile.h"
#include "openhost/documents/LinkTable.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace openhost {

enum class DocumentKind : std::uint32_t {
    Part = 1,
    Product = 2,
};

/// A text property of the user.
struct DocumentProperty {
    std::string name;
    std::string value;
    bool operator==(const DocumentProperty&) const = default;
};

/// A placement: three rows of four numbers, a rotation and in the last column a shift in millimetres.
using Placement = std::array<double, 12>;

inline constexpr Placement IdentityPlacement{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

/// Whether the first three columns of `placement` are a rotation, and all numbers are finite; a reflection is none.
bool IsRigid(const Placement& placement);

/// An instance of another document in a product.
struct ChildInstance {
    std::string name;       ///< unlike the names of the other children
    std::uint32_t link = 0; ///< position of the document in the link table, from 0
    Placement placement = IdentityPlacement;
    bool operator==(const ChildInstance&) const = default;
};

/// What is known of a part's geometry without reading it. Millimetres.
struct GeometryFacts {
    std::uint32_t solids = 0;
    std::uint32_t faces = 0;
    double volume = 0;
    double area = 0;
    std::array<double, 3> lowest{}; ///< corners of the bounding box
    std::array<double, 3> highest{};
    bool operator==(const GeometryFacts&) const = default;
};

/// The geometry of a part.
struct DocumentGeometry {
    GeometryFacts facts;
    std::string boundary; ///< boundary representation, as openhost/geometry writes it
    bool operator==(const DocumentGeometry&) const = default;
};

struct CadDocument {
    DocumentKind kind = DocumentKind::Part;
    std::string partNumber;
    std::string nomenclature;
    std::string description;
    std::vector<DocumentProperty> properties;
    LinkTable links;
    std::vector<ChildInstance> children;      ///< of a product; a part has none
    std::optional<DocumentGeometry> geometry; ///< of a part; a product has none
    bool operator==(const CadDocument&) const = default;
};

/// All of them throw CompoundFileError, which names the file and the reason.

/// Reads the document in the file `path`.
CadDocument ReadDocument(const std::filesystem::path& path);
/// Reads the document whose compound file is `bytes`; errors call it `name`.
CadDocument ParseDocument(std::string_view bytes, const std::string& name);
/// The compound file of `document`; equal documents give equal bytes. Refuses what ReadDocument would refuse.
std::string BuildDocument(const CadDocument& document);
/// Writes `document` to the file `path`, which keeps its old content on failure.
void WriteDocument(const CadDocument& document, const std::filesystem::path& path);

} // namespace openhost
