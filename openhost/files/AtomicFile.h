// Files that are either the old ones or the new ones, whatever happens meanwhile.
#pragma once

#include <filesystem>
#include <string_view>

namespace openhost {

/// Replaces or creates `file` with `content`. Written beside it first, brought to the disk, then renamed; the
/// permissions of an existing file stay, a new one is for this user only. A link is followed. Refuses a file that
/// nobody may write.
/// Throws std::system_error naming the file, which is then as it was.
void WriteFileAtomically(const std::filesystem::path& file, std::string_view content);

} // namespace openhost
