#include "tests/support/ZipBytes.h"

#include <libdeflate.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace openhost::testing {

namespace {
constexpr std::uint16_t Encryption = 1;
constexpr std::uint16_t DataDescriptor = 8;
constexpr std::uint16_t NameInUTF8 = 0x800;
constexpr std::uint32_t InZip64 = 0xFFFFFFFF;

void Put(std::string& bytes, std::uint64_t number, int size)
{
    for (int position = 0; position < size; ++position)
        bytes.push_back(static_cast<char>(number >> (8 * position)));
}

bool IsAscii(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char letter) { return static_cast<unsigned char>(letter) < 0x80; });
}
} // namespace

// ---------------------------------------------------------------------------------------------
// Entries

ZipBytes& ZipBytes::Add(std::string_view name, std::string_view content)
{
    Entry entry;
    entry.name = name;
    entry.content = content;
    entries_.push_back(std::move(entry));
    return *this;
}

ZipBytes& ZipBytes::AddDirectory(std::string_view name)
{
    Add(name);
    Last().mode = 0040755;
    if (!name.ends_with('/') && !name.ends_with('\\'))
        Last().name += '/';
    return *this;
}

ZipBytes& ZipBytes::AddMany(unsigned int count)
{
    for (unsigned int number = 0; number < count; ++number)
        Add("entry-" + std::to_string(number), "content " + std::to_string(number));
    return *this;
}

ZipBytes& ZipBytes::Deflated()
{
    Last().deflated = true;
    return *this;
}

ZipBytes& ZipBytes::NamedInCP437()
{
    Last().utf8 = false;
    return *this;
}

ZipBytes& ZipBytes::NamedInUTF8()
{
    Last().utf8 = true;
    return *this;
}

ZipBytes& ZipBytes::WithDataDescriptor()
{
    Last().descriptor = true;
    return *this;
}

ZipBytes& ZipBytes::WithZip64()
{
    Last().zip64 = true;
    return *this;
}

ZipBytes& ZipBytes::Encrypted()
{
    Last().encrypted = true;
    return *this;
}

ZipBytes& ZipBytes::WithUnixMode(std::uint32_t mode)
{
    Last().mode = mode;
    return *this;
}

ZipBytes& ZipBytes::SymbolicLink()
{
    return WithUnixMode(0120777);
}

ZipBytes& ZipBytes::WithWrongChecksum()
{
    Last().wrongChecksum = true;
    return *this;
}

ZipBytes& ZipBytes::AnnouncingSize(std::uint64_t size)
{
    Last().size = size;
    return *this;
}

ZipBytes& ZipBytes::AnnouncingPackedSize(std::uint64_t size)
{
    Last().packedSize = size;
    return *this;
}

ZipBytes& ZipBytes::WithMethod(std::uint16_t method)
{
    Last().method = method;
    return *this;
}

ZipBytes& ZipBytes::WithPackedData(std::string_view bytes)
{
    Last().packed = bytes;
    return *this;
}

ZipBytes& ZipBytes::WithLocalName(std::string_view name)
{
    Last().localName = name;
    return *this;
}

ZipBytes& ZipBytes::WithOffset(std::uint64_t offset)
{
    Last().offset = offset;
    return *this;
}

ZipBytes& ZipBytes::WithExtraField(std::string_view bytes)
{
    Last().extra = bytes;
    return *this;
}

// ---------------------------------------------------------------------------------------------
// The archive

ZipBytes& ZipBytes::WithComment(std::string_view comment)
{
    comment_ = comment;
    return *this;
}

ZipBytes& ZipBytes::EndingInZip64()
{
    zip64End_ = true;
    return *this;
}

ZipBytes& ZipBytes::AnnouncingCount(std::uint64_t count)
{
    count_ = count;
    return *this;
}

std::string ZipBytes::Bytes() const
{
    std::string file;
    std::string directory;
    for (const Entry& entry : entries_) {
        const std::string packed = entry.packed     ? *entry.packed
                                   : entry.deflated ? Deflate(entry.content)
                                                    : entry.content;
        const std::uint16_t method = entry.method.value_or(entry.deflated ? 8 : 0);
        const std::uint32_t checksum =
            libdeflate_crc32(0, entry.content.data(), entry.content.size()) ^ (entry.wrongChecksum ? 1U : 0U);
        const std::uint64_t size = entry.size.value_or(entry.content.size());
        const std::uint64_t packedSize = entry.packedSize.value_or(packed.size());
        const std::uint64_t offset = entry.offset.value_or(file.size());
        const bool zip64 = entry.zip64 || size >= InZip64 || packedSize >= InZip64 || offset >= InZip64;
        const std::uint16_t version = zip64 ? 45 : 20;
        std::uint16_t flags = 0;
        if (entry.encrypted)
            flags |= Encryption;
        if (entry.descriptor)
            flags |= DataDescriptor;
        if (entry.utf8.value_or(!IsAscii(entry.name)))
            flags |= NameInUTF8;

        const auto putDetails = [&](std::string& bytes, bool local) {
            const bool later = local && entry.descriptor;
            Put(bytes, version, 2);
            Put(bytes, flags, 2);
            Put(bytes, method, 2);
            Put(bytes, 0x6000, 2); // 12:00:00
            Put(bytes, 0x5A21, 2); // 2025-01-01
            Put(bytes, later ? 0 : checksum, 4);
            Put(bytes, zip64 ? InZip64 : later ? 0 : packedSize, 4);
            Put(bytes, zip64 ? InZip64 : later ? 0 : size, 4);
        };

        std::string localExtra;
        if (zip64) {
            Put(localExtra, 1, 2);
            Put(localExtra, 16, 2);
            Put(localExtra, entry.descriptor ? 0 : size, 8);
            Put(localExtra, entry.descriptor ? 0 : packedSize, 8);
        }
        std::string extra;
        if (zip64) {
            Put(extra, 1, 2);
            Put(extra, 24, 2);
            Put(extra, size, 8);
            Put(extra, packedSize, 8);
            Put(extra, offset, 8);
        }
        if (entry.extra)
            extra = *entry.extra;
        const std::string& localName = entry.localName ? *entry.localName : entry.name;

        Put(directory, 0x02014B50, 4);
        Put(directory, (3U << 8) | version, 2); // made on Unix
        putDetails(directory, false);
        Put(directory, entry.name.size(), 2);
        Put(directory, extra.size(), 2);
        Put(directory, 0, 2); // comment
        Put(directory, 0, 2); // disk
        Put(directory, 0, 2); // internal attributes
        Put(directory, std::uint64_t{entry.mode} << 16, 4);
        Put(directory, zip64 ? InZip64 : offset, 4);
        directory += entry.name + extra;

        Put(file, 0x04034B50, 4);
        putDetails(file, true);
        Put(file, localName.size(), 2);
        Put(file, localExtra.size(), 2);
        file += localName + localExtra + packed;
        if (entry.descriptor) {
            Put(file, 0x08074B50, 4);
            Put(file, checksum, 4);
            Put(file, packedSize, zip64 ? 8 : 4);
            Put(file, size, zip64 ? 8 : 4);
        }
    }

    const std::uint64_t start = file.size();
    const std::uint64_t count = count_.value_or(entries_.size());
    file += directory;
    const bool zip64 = zip64End_ || count >= 0xFFFF;
    if (zip64) {
        const std::uint64_t record = file.size();
        Put(file, 0x06064B50, 4);
        Put(file, 44, 8); // size of the rest of the record
        Put(file, 45, 2);
        Put(file, 45, 2);
        Put(file, 0, 4); // disk
        Put(file, 0, 4); // disk of the directory
        Put(file, count, 8);
        Put(file, count, 8);
        Put(file, directory.size(), 8);
        Put(file, start, 8);
        Put(file, 0x07064B50, 4);
        Put(file, 0, 4); // disk of the record
        Put(file, record, 8);
        Put(file, 1, 4); // disks
    }
    Put(file, 0x06054B50, 4);
    Put(file, 0, 2); // disk
    Put(file, 0, 2); // disk of the directory
    Put(file, zip64 ? 0xFFFF : count, 2);
    Put(file, zip64 ? 0xFFFF : count, 2);
    Put(file, zip64 ? InZip64 : directory.size(), 4);
    Put(file, zip64 ? InZip64 : start, 4);
    Put(file, comment_.size(), 2);
    return file + comment_;
}

std::string ZipBytes::BytesWithoutLast(std::size_t count) const
{
    std::string bytes = Bytes();
    bytes.resize(bytes.size() - std::min(count, bytes.size()));
    return bytes;
}

void ZipBytes::Write(const std::filesystem::path& path) const
{
    const std::string bytes = Bytes();
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path.string());
}

// ---------------------------------------------------------------------------------------------

std::string Deflate(std::string_view content)
{
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(6), &libdeflate_free_compressor);
    if (!compressor)
        throw std::runtime_error("no compressor");
    std::string packed(libdeflate_deflate_compress_bound(compressor.get(), content.size()), '\0');
    packed.resize(
        libdeflate_deflate_compress(compressor.get(), content.data(), content.size(), packed.data(), packed.size()));
    return packed;
}

} // namespace openhost::testing
