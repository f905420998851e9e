// The file of an archive in the form that libzip reads from.
#pragma once

#include "Descriptor.h"

#include <zip.h>

#include <cstdint>
#include <string>
#include <vector>

namespace openhost {

/// Reads through one buffer, so that the many small reads of libzip are few calls of the system. Outlives the
/// archive that is opened on it.
class ZipSource {
public:
    /// Opens `path`. Throws std::system_error for what is no readable regular file.
    explicit ZipSource(const std::string& path);
    ZipSource(const ZipSource&) = delete;
    ZipSource& operator=(const ZipSource&) = delete;

    std::uint64_t Size() const { return size_; }
    /// Fails every read from now on once `bytes` more have been handed out.
    void LimitReading(std::uint64_t bytes) { allowance_ = bytes; }
    /// The lowest position that was read from since ForgetReading; beyond the file when there was none.
    std::uint64_t LowestRead() const { return lowestRead_; }
    void ForgetReading() { lowestRead_ = ~std::uint64_t{0}; }

    /// What libzip calls; `source` is the object.
    static zip_int64_t Serve(void* source, void* data, zip_uint64_t length, zip_source_cmd_t command);

private:
    zip_int64_t Read(char* bytes, std::uint64_t length);
    bool Fill();

    Descriptor file_;
    std::uint64_t size_ = 0;
    std::uint64_t position_ = 0;
    std::uint64_t allowance_ = 0;
    std::uint64_t lowestRead_ = ~std::uint64_t{0};
    std::vector<char> buffer_;
    std::uint64_t bufferStart_ = 0; ///< position of the buffer's first byte in the file
    std::size_t buffered_ = 0;      ///< bytes of the buffer that hold something
    zip_error_t error_;
};

} // namespace openhost
