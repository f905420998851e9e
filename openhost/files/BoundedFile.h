// Reading files whose size nobody vouches for.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace openhost {

/// The bytes of `path`. Throws std::runtime_error, whose text goes on from "the file cannot be read:", for what is no
/// regular file, is larger than `limit` bytes, or cannot be read.
std::string ReadBounded(const std::filesystem::path& path, std::size_t limit);

} // namespace openhost
