// A document of openhost: a part or a product, in memory and as a compound file.
//
// The compound file holds one storage, ZALOR1, with a stream for each kind of data. A reader passes over
// streams that it does not know. Geometry is bytes here; openhost/geometry knows what they mean.
#pragma once

#include "openhost/documents/CompoundFile.h"
#include "openhost/documents/LinkTable.h"
#include "openhost/documents/PartColors.h"
#include "openhost/space/Box.h"
#include "openhost/space/Placement.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace openhost {

enum class DocumentKind : std::uint32_t {
    Part = 1,
    Product = 2,
};

/// A length in the unit in which the user reads it: "mm", "cm", "m" or "in".
struct ParameterLength {
    double value = 0;
    std::string unit = "mm";
    bool operator==(const ParameterLength&) const = default;
};

/// A parameter of the user. Names need not be unique.
struct UserParameter {
    std::string name;
    std::variant<std::string, ParameterLength, std::int32_t, bool> value;
    bool operator==(const UserParameter&) const = default;
};

/// How the user looks at a document. Millimetres.
struct DocumentCamera {
    std::string name;
    Vector eye{};             ///< where it stands
    Vector sight{-1, -1, -1}; ///< where it looks; not zero
    Vector up{0, 0, 1};       ///< what is up in the picture; not along `sight`
    double scale = 1;         ///< millimetres that half the height of the picture shows; above zero
    bool operator==(const DocumentCamera&) const = default;
};

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
    Box box; ///< around it
    bool operator==(const GeometryFacts&) const = default;
};

/// The geometry of a part. A copy of a shape has no facts: those of a document from outside may be any.
struct DocumentGeometry {
    std::optional<GeometryFacts> facts; ///< none as long as nobody has measured it
    std::string boundary;               ///< boundary representation, as openhost/geometry writes it
    PartColors colors{};                ///< of its faces
    bool operator==(const DocumentGeometry&) const = default;
};

/// A coordinate system among the features of a part.
struct AxisSystem {
    std::string name;
    Placement placement = IdentityPlacement;
    bool operator==(const AxisSystem&) const = default;
};

/// A tool of a part beside its main tool.
struct PartTool {
    std::string name;
    std::optional<DocumentGeometry> geometry; ///< its result; a tool without content has none
    bool operator==(const PartTool&) const = default;
};

/// What stands in the part of a part document beside the shape of its main tool.
struct PartFeatures {
    std::string mainTool = "PartBody"; ///< name of the main tool
    std::vector<PartTool> otherTools;
    std::uint32_t workingTool = 0; ///< the one that the user works in: 0 the main tool, then the others
    std::vector<AxisSystem> axisSystems;
    bool operator==(const PartFeatures&) const = default;
};

struct CadDocument {
    DocumentKind kind = DocumentKind::Part;
    std::string partNumber;
    std::string nomenclature;
    std::string description;
    std::string identity; ///< the same in all versions of a document; empty in one that has none yet
    std::vector<UserParameter> parameters;
    std::vector<DocumentCamera> cameras;
    LinkTable links;
    std::vector<ChildInstance> children;      ///< of a product; a part has none
    std::optional<DocumentGeometry> geometry; ///< of a part: the result of its main tool; a product has none
    PartFeatures features;                    ///< of a part
    bool operator==(const CadDocument&) const = default;
};

/// Most tools that a part has beside its main tool: each of them takes an entry of the compound file.
inline constexpr std::size_t MaximumOtherTools = 500;

/// The value of `parameter` as the user reads it; of a text the text itself.
std::string ParameterText(const UserParameter& parameter);
/// Whether `text` can stand in a document.
bool IsDocumentText(std::string_view text);

/// All of them throw CompoundFileError, which names the file and the reason.

/// Reads the document in the file `path`.
CadDocument ReadDocument(const std::filesystem::path& path);
/// Reads the document whose compound file is `bytes`; errors call it `name`.
CadDocument ParseDocument(std::string_view bytes, const std::string& name);
/// The geometry of the tool `tool` in the file `path`, without anything else: 0 the main tool, then the others.
std::optional<DocumentGeometry> ReadToolGeometry(const std::filesystem::path& path, std::size_t tool);
/// The compound file of `document`; equal documents give equal bytes. Refuses what ReadDocument would refuse.
std::string BuildDocument(const CadDocument& document);
/// Writes `document` to the file `path`, which keeps its old content on failure.
void WriteDocument(const CadDocument& document, const std::filesystem::path& path);

} // namespace openhost
