// The MD5 sum by which people compare files. It protects nothing.
#pragma once

#include <filesystem>
#include <string>

namespace openhost {

/// MD5 of the content of `file` as 32 lower-case hexadecimal digits. Throws std::system_error when the file
/// cannot be read.
std::string Md5OfFile(const std::filesystem::path& file);

} // namespace openhost
