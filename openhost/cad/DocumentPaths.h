// The files of documents, and the links between them. All throw CadWorkspaceError.
#pragma once

#include <filesystem>
#include <string>

namespace openhost {

/// The one path of a file, however it is written; links of the file system are followed as far as they exist. Refuses
/// an empty path.
std::filesystem::path CanonicalPath(const std::filesystem::path& path);

/// Where the link `link` of a document in `folder`, a canonical path, leads: a canonical path.
std::filesystem::path LinkTarget(const std::filesystem::path& folder, const std::string& link);

/// The link of a document in `folder` to `target`. Refuses one that would lead elsewhere.
std::string LinkTo(const std::filesystem::path& folder, const std::filesystem::path& target);

} // namespace openhost
