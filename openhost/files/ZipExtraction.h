// Extraction of one entry of an archive.
#pragma once

#include "ZipOutput.h"
#include "ZipReader.h"

#include <string_view>

namespace openhost {

/// Adds `entry` of `archive` to `output`, to stand at `path` once that places its files; a path that ends in a
/// separator makes a folder at once. Throws std::runtime_error, and leaves nothing behind, when the entry cannot be
/// read, the path leads out of the folder, or a link or something else than a file stands there.
void ExtractZipEntry(ZipReader& archive, std::size_t entry, ZipOutput& output, std::string_view path);

} // namespace openhost
