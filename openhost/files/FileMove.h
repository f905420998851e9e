// Moves of files between volumes.
#pragma once

#include <filesystem>

namespace openhost {

/// Copies the file or link `source` to `target`, where nothing stands, and deletes it. `target` comes into being whole.
/// False, with everything as it was, when that cannot be done.
bool MoveToOtherVolume(const std::filesystem::path& source, const std::filesystem::path& target);

} // namespace openhost
