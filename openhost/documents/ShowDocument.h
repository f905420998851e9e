// A document in words: tree, properties, parameters, features, cameras, link table.
#pragma once

#include "openhost/documents/CadDocument.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace openhost {

/// Measures geometry that has no facts. Throws std::exception, whose text is shown in their place.
using MeasureGeometry = std::function<GeometryFacts(const DocumentGeometry& geometry)>;

/// Writes the tree, the properties, parameters, features and cameras, the size of the geometry, and the link table of
/// the document `path` to `output`; what a document lacks is left out. The tree follows the links to files beside the
/// document; a file that is missing, damaged or part of itself is named as such in its line. A control character of a
/// name is shown as a blank. Throws CompoundFileError when `path` itself is not a document.
void ShowDocument(const std::filesystem::path& path, const MeasureGeometry& measure, std::ostream& output);

/// The lines of the tree alone, of which the first one is the document itself; what is below a sub-product stands below
/// its first instance, the others end with "…". Throws as above.
std::vector<std::string> ShortTree(const std::filesystem::path& path);

/// Writes the same of two documents in two columns, the same kinds of things beside each other. Throws as above before
/// anything is written.
void ShowDocuments(const std::filesystem::path& left, const std::filesystem::path& right,
                   const MeasureGeometry& measure, std::ostream& output);

/// Most lines and levels of a tree, since a few files that name each other twice unfold into any number of
/// lines.
inline constexpr int MaximumTreeLines = 10'000;
inline constexpr std::size_t MaximumTreeDepth = 100;

} // namespace openhost
