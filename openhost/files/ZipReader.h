// Zip archives: what they hold, and the bytes of an entry, unpacked and verified.
#pragma once

#include "host/archive.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace openhost {

/// What an archive may demand before it is refused.
struct ZipLimits {
    std::uint64_t entries = ZALZipMaximumEntries;
    std::uint64_t directorySize = ZALZipMaximumDirectorySize;
    std::uint64_t entrySize = ZALZipMaximumEntrySize;
    std::uint64_t totalSize = ZALZipMaximumTotalSize;
};

/// An archive, open for reading. Entries count from 0 in archive order. The memory that it takes is bounded by
/// the size of the directory alone; sizes that the archive announces are never believed.
class ZipReader {
public:
    /// A piece of an entry's content. With the last one size and checksum of the whole have been verified.
    struct Piece {
        std::string_view bytes;
        bool isLast;
    };
    /// Most bytes of a piece. A content of just this size may come in two, the last one empty.
    static constexpr std::size_t PieceSize = std::size_t{128} << 10;

    /// Throws std::runtime_error for a file that cannot be read, is no archive or passes a limit.
    explicit ZipReader(const std::string& path, const ZipLimits& limits = {});
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;
    ~ZipReader();

    std::size_t Count() const;
    /// In UTF-8 as far as the archive tells the truth; a name in CP437 is translated.
    std::string_view Name(std::size_t entry) const;
    /// Bytes of the content, as announced.
    std::uint64_t Size(std::size_t entry) const;
    /// Bytes of all entries together, as announced, without those that are too large to be read.
    std::uint64_t TotalSize() const;
    /// The last entry of the name.
    std::optional<std::size_t> Find(std::string_view name);

    /// Begins with the content of `entry`. Throws std::runtime_error for one that is no file or folder, is
    /// encrypted, packed by another method than deflate, without a checksum, or passes a limit.
    void Start(std::size_t entry);
    /// The next piece, valid until the next call. Not to be called after the last one. Throws
    /// std::runtime_error for a damaged entry, and for one whose bytes are those of another entry, too.
    Piece Next();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace openhost
