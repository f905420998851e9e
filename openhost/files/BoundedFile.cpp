#include "openhost/files/BoundedFile.h"

#include <fstream>
#include <stdexcept>

namespace openhost {

std::string ReadBounded(const std::filesystem::path& path, std::size_t limit)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw std::runtime_error("it is not a regular file");
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (!error && size > limit)
        throw std::runtime_error("it is larger than " + std::to_string(limit) + " bytes");

    std::ifstream file(path, std::ios::binary);
    std::string bytes(error ? 0 : static_cast<std::size_t>(size), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (error || !file)
        throw std::runtime_error("it cannot be read");
    return bytes;
}

} // namespace openhost
