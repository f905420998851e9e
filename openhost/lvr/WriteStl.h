// Light representations for other programs.
#pragma once

#include "openhost/lvr/LvrMesh.h"

namespace openhost {

/// Writes `mesh` to the file `path` as binary STL, in millimetres, one facet a triangle in the same order; the file
/// keeps its old content on failure. A triangle without area has the normal 0. Throws LvrError, or std::system_error.
void WriteStl(const std::filesystem::path& path, const LvrMesh& mesh);

} // namespace openhost
