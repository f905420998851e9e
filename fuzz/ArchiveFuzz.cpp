// An archive: opened, browsed, and every entry extracted. Whatever it holds, only files and folders below the folder
// come of it, and no file that is not complete. Half of the mutants have their checksums and sizes put right, or hardly
// one would be extracted.

#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"

#include "host/archive.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

// What a run writes need not survive the machine.
extern "C" int fsync(int)
{
    return 0;
}
extern "C" int syncfs(int)
{
    return 0;
}

namespace {

namespace fs = std::filesystem;

// Enough of the entries of an archive that repeats one name a thousand times.
constexpr unsigned int ExtractedEntries = 50;

/// What may stand below the folder: files and folders, none of them a link or left over from an extraction.
void CheckFolder(const fs::path& folder)
{
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const bool isLeft = entry.path().filename().string().starts_with(".openhost-");
        if (isLeft || entry.is_symlink() || !(entry.is_regular_file() || entry.is_directory()))
            std::abort();
    }
}

std::size_t Read(const std::uint8_t* bytes, std::size_t count)
{
    std::size_t value = 0;
    while (count-- > 0)
        value = value << 8 | bytes[count];
    return value;
}

void Write(std::uint8_t* bytes, std::size_t value)
{
    for (int byte = 0; byte < 4; ++byte, value >>= 8)
        bytes[byte] = static_cast<std::uint8_t>(value);
}

/// Gives stored entries the checksums and sizes of their bytes, in both of their headers. An entry whose size does not
/// fit ends with the directory.
void RepairStoredEntries(std::uint8_t* bytes, std::size_t size)
{
    constexpr std::size_t localMark = 0x04034B50, localSize = 30;
    constexpr std::size_t directoryMark = 0x02014B50, directorySize = 46;
    for (std::size_t place = 0; place + directorySize <= size; ++place) {
        std::uint8_t* const entry = bytes + place;
        if (Read(entry, 4) != directoryMark || Read(entry + 10, 2) != 0)
            continue;
        const std::size_t header = Read(entry + 42, 4);
        if (header + localSize > place || Read(bytes + header, 4) != localMark)
            continue;
        const std::size_t content = header + localSize + Read(bytes + header + 26, 2) + Read(bytes + header + 28, 2);
        if (content > place)
            continue;
        const std::size_t length = std::min(Read(entry + 20, 4), place - content);
        const std::size_t checksum = libdeflate_crc32(0, bytes + content, length);
        for (std::uint8_t* const fields : {entry + 16, bytes + header + 14}) {
            Write(fields, checksum);
            Write(fields + 4, length);
            Write(fields + 8, length);
        }
    }
}

} // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t maximum);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size, std::size_t maximum,
                                               unsigned int seed)
{
    const std::size_t mutant = LLVMFuzzerMutate(bytes, size, maximum);
    if (seed % 2 == 0)
        RepairStoredEntries(bytes, mutant);
    return mutant;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const openhost::TemporaryFolder temporary;
    const fs::path archive = temporary.Path() / "archive.zip";
    const fs::path folder = temporary.Path() / "folder";
    fs::create_directory(folder);
    std::ofstream(archive, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));

    ZALSysZipFile zip;
    if (SUCCEEDED(zip.OpenZip(openhost::FromUtf8(archive.string()), ZALZipRead))) {
        ZALUnicodeString* names = nullptr;
        std::uint64_t* sizes = nullptr;
        unsigned int count = 0;
        if (FAILED(zip.BrowseZip(names, sizes, count)))
            std::abort();
        const std::unique_ptr<ZALUnicodeString[]> ownedNames(names);
        const std::unique_ptr<std::uint64_t[]> ownedSizes(sizes);
        for (unsigned int entry = 0; entry < count && entry < ExtractedEntries; ++entry)
            zip.ExtractFile(openhost::FromUtf8(folder.string()), names[entry], ZALZipExtractReplace);
        if (FAILED(zip.Close()))
            std::abort();
        CheckFolder(folder);
    }

    fs::remove_all(folder);
    if (std::distance(fs::directory_iterator(temporary.Path()), {}) != 1)
        std::abort();
    return 0;
}
