// Zip files for tests, byte by byte: well-formed ones in one line, and every way of being wrong on purpose.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace openhost::testing {

/// A zip file in the making. `Add` and `AddDirectory` append an entry; the other operations on entries change
/// the entry added last:
///
///     ZipBytes().Add("a.txt", "text").Add("b.bin", bytes).Deflated().AddDirectory("folder/").Write(path);
///
/// Entries are stored unless `Deflated` says otherwise. Names are UTF-8, flagged as such when not ASCII.
class ZipBytes {
public:
    ZipBytes& Add(std::string_view name, std::string_view content = {});
    /// Appends "/" to `name` when it ends in no separator.
    ZipBytes& AddDirectory(std::string_view name);
    /// Entries "entry-0", "entry-1", ... of a few bytes each.
    ZipBytes& AddMany(unsigned int count);

    ZipBytes& Deflated();
    /// The name is taken as it is, and not flagged as UTF-8.
    ZipBytes& NamedInCP437();
    /// The name is flagged as UTF-8, whatever its bytes are.
    ZipBytes& NamedInUTF8();
    /// Sizes and checksum stand after the data and are zero in the local header.
    ZipBytes& WithDataDescriptor();
    /// Sizes and offset stand in the Zip64 extra field.
    ZipBytes& WithZip64();
    /// Sets the encryption flag.
    ZipBytes& Encrypted();
    /// Unix mode bits, type included, such as 0100644.
    ZipBytes& WithUnixMode(std::uint32_t mode);
    /// A symbolic link; its target is the content.
    ZipBytes& SymbolicLink();
    ZipBytes& WithWrongChecksum();
    /// A size in the headers that is not the content's.
    ZipBytes& AnnouncingSize(std::uint64_t size);
    /// A size of the packed data in the headers that is not its own.
    ZipBytes& AnnouncingPackedSize(std::uint64_t size);
    /// A compression method by number; the packed data stays what it is.
    ZipBytes& WithMethod(std::uint16_t method);
    /// The packed data, in place of what packing the content gives.
    ZipBytes& WithPackedData(std::string_view bytes);
    /// Another name in the local header than in the directory.
    ZipBytes& WithLocalName(std::string_view name);
    /// An offset of the local header that is not its own.
    ZipBytes& WithOffset(std::uint64_t offset);
    /// Bytes in the extra field of the directory, in place of those that the entry needs.
    ZipBytes& WithExtraField(std::string_view bytes);

    /// Comment of the archive.
    ZipBytes& WithComment(std::string_view comment);
    /// Directory and end in the form of Zip64.
    ZipBytes& EndingInZip64();
    /// A count of entries in the end record that is not the archive's.
    ZipBytes& AnnouncingCount(std::uint64_t count);

    /// The whole file.
    std::string Bytes() const;
    /// The file without its last `count` bytes.
    std::string BytesWithoutLast(std::size_t count) const;
    /// Writes the file. Throws std::runtime_error when that fails.
    void Write(const std::filesystem::path& path) const;

private:
    struct Entry {
        std::string name;
        std::string content;
        bool deflated = false;
        std::optional<bool> utf8;
        bool descriptor = false;
        bool zip64 = false;
        bool encrypted = false;
        bool wrongChecksum = false;
        std::uint32_t mode = 0100644;
        std::optional<std::uint64_t> size;
        std::optional<std::uint64_t> packedSize;
        std::optional<std::uint16_t> method;
        std::optional<std::string> packed;
        std::optional<std::string> localName;
        std::optional<std::uint64_t> offset;
        std::optional<std::string> extra;
    };
    Entry& Last() { return entries_.back(); }

    std::vector<Entry> entries_;
    std::string comment_;
    bool zip64End_ = false;
    std::optional<std::uint64_t> count_;
};

/// `content` as a raw deflate stream.
std::string Deflate(std::string_view content);

} // namespace openhost::testing
