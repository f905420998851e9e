// The bytes of a file.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace openhost::testing {

/// Empty for a file that is not there.
inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace openhost::testing
