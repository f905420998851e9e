// A document in words: tree, properties, parameters, features, cameras, link table.
#pragma once

#include <cstddef>
#include <filesystem>
#include <ostream>

namespace openhost {

/// Writes the tree, the properties, parameters, features and cameras, and the link table of the document `path` to
/// `output`. The tree follows the
/// links to files beside the document; a file that is missing, damaged or part of itself is named as such in
/// its line. Throws CompoundFileError when `path` itself is no document.
void ShowDocument(const std::filesystem::path& path, std::ostream& output);

/// Most lines and levels of a tree, since a few files that name each other twice unfold into any number of
/// lines.
inline constexpr int MaximumTreeLines = 10'000;
inline constexpr std::size_t MaximumTreeDepth = 100;

} // namespace openhost
