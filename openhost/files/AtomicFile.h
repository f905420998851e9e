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

/// The same for a file that must not exist yet; nothing is replaced, even when another process makes it meanwhile.
void CreateFileAtomically(const std::filesystem::path& file, std::string_view content);

/// As WriteFileAtomically for a file that can be made again: other processes see the old one or the new one, but a
/// failure of power may leave neither, since nothing waits for the disk.
void ReplaceFile(const std::filesystem::path& file, std::string_view content);

} // namespace openhost
