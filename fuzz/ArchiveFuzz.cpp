// An archive: opened, browsed, and every entry extracted. Whatever it holds, only files and folders below the folder
// come of it, and no file that is not complete.

#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"

#include "host/archive.h"

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

} // namespace

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
