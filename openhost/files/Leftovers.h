// What is written beside its place until it is complete, and what killed processes have left of it.
#pragma once

#include <filesystem>
#include <string>

namespace openhost {

/// A name that no other process gives, known to ClearLeftovers: a hidden one for what stands among files of the user,
/// and one for a folder among the temporary files of the system.
std::string MakeTemporaryName();
std::string MakeTemporaryFolderName();

/// Marks the file or folder of such a name as in use, as long as one descriptor of this opening is open.
void MarkInUse(int descriptor);

/// Whether nothing uses the file or folder of `descriptor` any more: it is this user's, nobody has it marked, and it
/// has been left alone for a minute, since it is made a moment before it is marked.
bool IsLeftOver(int descriptor);

/// Removes what is left over among the files and folders of `folder` with such a name. Looks once a folder in the life
/// of this process.
void ClearLeftovers(const std::filesystem::path& folder);

} // namespace openhost
