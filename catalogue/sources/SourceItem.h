// Files of a user as items.
#pragma once

#include "catalogue/sources/SourceJob.h"

namespace catalogue {

/// Writes the files of the item that `job.file` becomes: a STEP file, or a document with those that it refers to, which
/// lie in its folder or below. The item is called what the part is called, or its file. Throws std::exception, also for
/// a shape without a surface.
SourceAnswer MakeItem(const SourceJob& job);

} // namespace catalogue
