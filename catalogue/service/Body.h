// The bytes of a reply.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace catalogue {

/// Bytes that are read piece by piece, so that a file of any size takes no memory. Used by one thread.
class Body {
public:
    virtual ~Body() = default;
    virtual std::uint64_t Size() const = 0;
    /// Reads up to `size` bytes from `offset`; less only at the end, and 0 also when reading fails.
    virtual std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) = 0;

    /// All of it, as far as it can be read.
    std::string ReadAll();

    static std::shared_ptr<Body> FromText(std::string text);
    /// The regular file `path`, no link; null when there is none.
    static std::shared_ptr<Body> FromFile(const std::filesystem::path& path);
};

} // namespace catalogue
