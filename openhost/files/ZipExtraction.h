// Extraction of one entry of an archive.
#pragma once

#include "ZipReader.h"

#include <string>
#include <string_view>

namespace openhost {

/// Puts `entry` of `archive` at `path` below `folder` and replaces a file that stands there; a path that ends in
/// a separator makes a folder. Throws std::runtime_error, and leaves nothing behind, when the entry cannot be
/// read, the path leads out of the folder, or a link or something else than a file stands there.
void ExtractZipEntry(ZipReader& archive, std::size_t entry, const std::string& folder, std::string_view path);

} // namespace openhost
