// Writing a whole file so that nobody sees half of it.
#pragma once

#include <filesystem>
#include <string_view>

namespace openhost {

/// Puts `bytes` into the file `path`, which keeps its old content, or stays missing, on failure. Throws
/// std::runtime_error with the path and the reason.
void ReplaceFile(const std::filesystem::path& path, std::string_view bytes);

} // namespace openhost
