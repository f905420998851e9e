// Extraction beside bsdtar and unzip, each a process of its own, in turns; from the second turn on beside the faster of
// the two alone. Arguments: the number of entries, the bytes of each, the number of turns, and the one of the two that
// is to be taken from the first turn on. Prints the time of each turn.
//
// All that follows a download is run: the check for files that stand there, the extraction, the search for the root
// product.

#include "benchmarks/Measure.h"
#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "host/archive.h"
#include "host/files.h"
#include "openhost/files/TemporaryFolder.h"

#include <zip.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using namespace benchmarks;
using namespace std::string_literals;

namespace fs = std::filesystem;

// ---------------------------------------------------------------------------------------------
// Archives

/// Content as CAD files have it, in pieces of about 12 KiB: meshes of round bodies on a grid of a hundredth of a
/// millimetre, lists of points as text, and now and then a block that does not pack. Deflate packs it to a third.
class Content {
public:
    explicit Content(std::uint64_t seed) : random_(seed) {}

    void Read(char* bytes, std::size_t size)
    {
        while (size > 0) {
            if (position_ == piece_.size())
                MakePiece();
            const std::size_t count = std::min(size, piece_.size() - position_);
            std::memcpy(bytes, piece_.data() + position_, count);
            position_ += count;
            bytes += count;
            size -= count;
        }
    }

private:
    template <class Value>
    void Put(Value value)
    {
        piece_.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    void MakePiece()
    {
        piece_.clear();
        position_ = 0;
        constexpr int corners = 256;
        const double radius = 5 + static_cast<double>(random_() % 400) / 10;
        const double height = static_cast<double>(random_() % 1000) / 10;
        for (int corner = 0; corner < corners; ++corner) {
            const double angle = 2 * std::numbers::pi * corner / corners;
            Put(static_cast<float>(std::round(radius * std::cos(angle) * 100) / 100));
            Put(static_cast<float>(std::round(radius * std::sin(angle) * 100) / 100));
            Put(static_cast<float>(height + static_cast<double>(random_() % 4) / 4));
            Put(static_cast<float>(std::cos(angle)));
            Put(static_cast<float>(std::sin(angle)));
            Put(0.0F);
        }
        const std::uint32_t base = static_cast<std::uint32_t>(random_() % 100'000);
        for (std::uint32_t corner = 0; corner < corners; ++corner) {
            Put(base + corner);
            Put(base + corner + 1);
            Put(base + corner + corners);
        }
        for (int point = 0; point < 24; ++point) {
            char line[100];
            const int length = std::snprintf(line, sizeof line, "#%u=CARTESIAN_POINT('',(%.4f,%.4f,%.4f));\n",
                                             static_cast<unsigned int>(random_() % 100'000),
                                             static_cast<double>(random_() % 100'000) / 1000,
                                             static_cast<double>(random_() % 100'000) / 1000, height);
            piece_.append(line, static_cast<std::size_t>(length));
        }
        if (random_() % 4 == 0) {
            for (int number = 0; number < 128; ++number)
                Put(random_());
        }
    }

    std::mt19937_64 random_;
    std::string piece_;
    std::size_t position_ = 0;
};

/// The content of one entry, made while libzip packs it.
struct Entry {
    Content content;
    std::uint64_t size;
    std::uint64_t position = 0;

    static zip_int64_t Serve(void* source, void* data, zip_uint64_t length, zip_source_cmd_t command)
    {
        Entry& self = *static_cast<Entry*>(source);
        switch (command) {
        case ZIP_SOURCE_READ:
            length = std::min(length, self.size - self.position);
            self.content.Read(static_cast<char*>(data), length);
            self.position += length;
            return static_cast<zip_int64_t>(length);
        case ZIP_SOURCE_STAT: {
            zip_stat_t* const status = static_cast<zip_stat_t*>(data);
            zip_stat_init(status);
            status->size = self.size;
            status->valid = ZIP_STAT_SIZE;
            return sizeof(zip_stat_t);
        }
        case ZIP_SOURCE_SUPPORTS:
            return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                                  ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
        case ZIP_SOURCE_FREE:
            delete &self;
            return 0;
        default:
            return 0;
        }
    }
};

/// An archive of `count` entries, a hundred a folder, of `size` bytes each.
void MakeArchive(const fs::path& path, unsigned int count, std::uint64_t size)
{
    zip_t* const archive = zip_open(path.c_str(), ZIP_CREATE, nullptr);
    if (!archive)
        throw std::runtime_error("cannot write " + path.string());
    for (unsigned int number = 0; number < count; ++number) {
        const std::string name =
            "assembly" + std::to_string(number / 100) + "/part" + std::to_string(number) + ".ZALPart";
        zip_source_t* const source = zip_source_function(archive, &Entry::Serve, new Entry{Content(number), size});
        const zip_int64_t entry = source ? zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8) : -1;
        // Quickly: at the usual level packing takes longer than all that is measured with it.
        if (entry < 0 || zip_set_file_compression(archive, static_cast<zip_uint64_t>(entry), ZIP_CM_DEFLATE, 1) != 0)
            throw std::runtime_error("cannot add " + name);
    }
    if (zip_close(archive) != 0)
        throw std::runtime_error("cannot write " + path.string());
}

// ---------------------------------------------------------------------------------------------
// Ours

/// All that follows the download of `archive`, with the host's calls of the check for conflicts.
bool Extract(const char* archive, const char* folder)
{
    ZALSysZipFile zip;
    if (FAILED(zip.OpenZip(archive, ZALZipRead)))
        return false;
    ZALUnicodeString* names = nullptr;
    std::uint64_t* sizes = nullptr;
    unsigned int count = 0;
    if (FAILED(zip.BrowseZip(names, sizes, count)))
        return false;
    const std::unique_ptr<ZALUnicodeString[]> ownedNames(names);
    const std::unique_ptr<std::uint64_t[]> ownedSizes(sizes);
    for (unsigned int entry = 0; entry < count; ++entry) {
        ZALUnicodeString name = names[entry];
        name.ReplaceAll(u'/', u'\\');
        ZALUnicodeString path = folder;
        ZALMakePath(path, name);
        ZALFileStatus status;
        if (!IsIgnoredArchiveEntry(name) && SUCCEEDED(ZALFileStat(path, status, 0)))
            return false;
    }
    zip.Close();

    ZALListValZALUnicodeString files;
    int root = 0;
    return SUCCEEDED(ExtractFiles(archive, folder, files)) && SUCCEEDED(FindRootProduct(files, root));
}

// ---------------------------------------------------------------------------------------------
// Turns

/// Wall clock of a program that must end well, in seconds.
double Run(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const Clock::time_point begin = Clock::now();
    pid_t process = 0;
    int status = 0;
    if (posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
        waitpid(process, &status, 0) < 0 || status != 0)
        throw std::runtime_error("failed: " + command[0]);
    return MillisecondsSince(begin) / 1000;
}

/// Where the file system can.
void SpreadFolders(const fs::path& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    int flags = 0;
    if (ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_TOPDIR_FL;
        ioctl(descriptor, FS_IOC_SETFLAGS, &flags);
    }
    close(descriptor);
}

/// Removes what the turns have extracted. Where a disk is told at once of each block that is free again (`discard`), a
/// file takes longer to remove than to make, mostly waiting: many are removed at the same time.
void RemoveExtracted(const fs::path& work)
{
    constexpr int depth = 1; // the folders of a turn's folder
    std::vector<fs::path> folders;
    for (auto entry = fs::recursive_directory_iterator(work); entry != fs::recursive_directory_iterator(); ++entry)
        if (entry.depth() == depth && entry->is_directory()) {
            entry.disable_recursion_pending();
            folders.push_back(entry->path());
        }
    std::atomic<std::size_t> next = 0;
    const auto remove = [&] {
        std::error_code ignored; // what is left is removed with `work`
        for (std::size_t number = next++; number < folders.size(); number = next++)
            fs::remove_all(folders[number], ignored);
    };
    constexpr int atOnce = 16;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < atOnce; ++thread)
        threads.emplace_back(remove);
}

void Compare(const fs::path& archive, const fs::path& work, bool keep, int turns, const std::string& peer)
{
    std::vector<std::pair<const char*, std::function<std::vector<std::string>(const std::string& folder)>>> commands{
        {"ours",
         [&](const std::string& folder) {
             return std::vector<std::string>{"/proc/self/exe", "--extract", archive.string(), folder};
         }},
        {"bsdtar",
         [&](const std::string& folder) {
             return std::vector<std::string>{"bsdtar", "-xf", archive.string(), "-C", folder};
         }},
        {"unzip", [&](const std::string& folder) {
             return std::vector<std::string>{"unzip", "-q", archive.string(), "-d", folder};
         }}};
    if (!peer.empty())
        std::erase_if(commands, [&](const auto& command) { return command.first != peer && command.first != "ours"s; });
    Require(commands.size() > 1, "there is no such peer");
    for (int turn = 0; turn < turns; ++turn) {
        std::vector<double> seconds;
        for (const auto& [name, command] : commands) {
            const fs::path folder = work / (name + std::to_string(Clock::now().time_since_epoch().count()));
            fs::create_directory(folder);
            sync(); // what the one before has left to the system is not to be waited for
            seconds.push_back(Run(command(folder.string())));
            std::printf("%s %.4f s\n", name, seconds.back());
            if (!keep)
                fs::remove_all(folder);
        }
        if (seconds.size() > 2)
            commands.erase(commands.begin() + (seconds[1] > seconds[2] ? 1 : 2));
    }
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc == 4 && std::strcmp(argv[1], "--extract") == 0)
        return Extract(argv[2], argv[3]) ? EXIT_SUCCESS : EXIT_FAILURE;

    Require(argc == 4 || argc == 5, "usage: ExtractionBenchmark ENTRIES SIZE TURNS [PEER]");
    const auto entries = static_cast<unsigned int>(std::stoul(argv[1]));
    const openhost::TemporaryFolder work;
    MakeArchive(work.Path() / "archive.zip", entries, std::stoull(argv[2]));
    // ext4 searches long for the number of a new file where many have been removed in the last minutes. It spreads the
    // folders of one that is marked as this one over the disk, and so away from those of runs before.
    SpreadFolders(work.Path());
    constexpr unsigned int many = 1000;
    Compare(work.Path() / "archive.zip", work.Path(), entries > many, std::stoi(argv[3]), argc > 4 ? argv[4] : "");
    RemoveExtracted(work.Path());
    return EXIT_SUCCESS;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
}
