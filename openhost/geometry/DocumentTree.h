// A document with everything under it and its shapes.
#pragma once

#include "openhost/documents/CadDocument.h"

#include <TopoDS_Shape.hxx>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace openhost {

/// Why a tree cannot be read or what is made of it cannot be written.
class DocumentTreeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A document of a tree, once however often it is used.
struct TreeDocument {
    struct Instance {
        std::string name;
        std::size_t document = 0; ///< position in the tree
        Placement placement = IdentityPlacement;
    };

    std::string key;  ///< of the source; the path of a document that lies in a file
    std::string name; ///< part number, or that of the file when it has none
    std::string description;
    std::vector<UserParameter> parameters;
    DocumentKind kind = DocumentKind::Part;
    TopoDS_Shape shape; ///< null when the document has no geometry
    PartColors colors;  ///< of its faces
    std::vector<Instance> instances;
};

/// The documents of a tree: each one after those that it holds, so that the root is the last.
using DocumentTree = std::vector<TreeDocument>;

/// Most levels of a tree, and most instances once every product is unfolded: a few files that name each other
/// twice unfold into any number of instances.
inline constexpr std::size_t MaximumTreeLevels = 100;
inline constexpr std::size_t MaximumTreeInstances = 100'000;

/// Where the documents of a tree come from, by keys of its own.
class DocumentSource {
public:
    virtual ~DocumentSource() = default;
    /// The key of the document that `link` of the document `father` leads to; nothing when it is missing.
    virtual std::optional<std::string> Find(const std::string& father, const std::string& link) = 0;
    virtual CadDocument Read(const std::string& key) = 0;
};

/// Takes one line about a thing that is left out.
using Warning = std::function<void(const std::string& line)>;

/// Reads the tree below the document `root`. Instances of a missing document are left out with a warning. Throws
/// CompoundFileError, GeometryError or DocumentTreeError for a damaged document, a cycle, or a tree past the limits.
DocumentTree ReadDocumentTree(DocumentSource& source, const std::string& root, const Warning& warn);
/// The tree of the document in the file `path`.
DocumentTree ReadDocumentTree(const std::filesystem::path& path, const Warning& warn);

/// Writes `content`, made of `tree`, to `output`: whole or not at all. Refuses to replace a document of the tree or
/// what is not a regular file.
void WriteMadeOf(const DocumentTree& tree, const std::filesystem::path& output, std::string_view content);

} // namespace openhost
