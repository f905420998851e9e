// Extraction beside bsdtar and unzip, each a process of its own, in turns. Arguments: the number of turns (5), and a
// folder that keeps the archives from one run to the next (a temporary one). Prints medians, and the ratio of ours to
// the faster peer.
//
// Large archives are extracted as they stand. Small entries run through all that follows a download: the check for
// files that stand there, the extraction, the search for the root product.

#include "benchmarks/Measure.h"
#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "host/archive.h"
#include "host/files.h"
#include "openhost/files/TemporaryFolder.h"

#include <zip.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using namespace benchmarks;

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

/// An archive of `count` entries, a hundred a folder, of `size` bytes each; an existing file is kept.
void MakeArchive(const fs::path& path, unsigned int count, std::uint64_t size)
{
    if (fs::exists(path))
        return;
    const std::string unfinished = path.string() + ".part";
    fs::remove(unfinished);
    zip_t* const archive = zip_open(unfinished.c_str(), ZIP_CREATE, nullptr);
    if (!archive)
        throw std::runtime_error("cannot write " + unfinished);
    for (unsigned int number = 0; number < count; ++number) {
        const std::string name =
            "assembly" + std::to_string(number / 100) + "/part" + std::to_string(number) + ".ZALPart";
        zip_source_t* const source = zip_source_function(archive, &Entry::Serve, new Entry{Content(number), size});
        if (!source || zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8) < 0)
            throw std::runtime_error("cannot add " + name);
    }
    if (zip_close(archive) != 0)
        throw std::runtime_error("cannot write " + unfinished);
    fs::rename(unfinished, path);
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

struct Result {
    double seconds;
    double mebibytes; ///< most memory in use
};

Result Run(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const auto begin = std::chrono::steady_clock::now();
    pid_t process = 0;
    int status = 0;
    rusage usage{};
    if (posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
        wait4(process, &status, 0, &usage) < 0 || status != 0)
        throw std::runtime_error("failed: " + command[0]);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    return {elapsed.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

/// Prints the medians of `name`. Returns that of ours in seconds.
double Compare(const std::string& name, const fs::path& archive, const fs::path& work, int turns)
{
    const auto run = [&](const std::function<std::vector<std::string>(const std::string&)>& command) {
        const fs::path folder = work / "extracted";
        fs::create_directory(folder);
        const Result result = Run(command(folder.string()));
        // ext4 searches long for the place of a new file where many have been removed in the last five seconds.
        if (fs::remove_all(folder) > 1000)
            std::this_thread::sleep_for(std::chrono::seconds(6));
        return result;
    };

    std::vector<double> ours, bsdtar, unzip, ratios;
    double memory = 0;
    for (int turn = 0; turn < turns; ++turn) {
        const Result own = run([&](const std::string& folder) {
            return std::vector<std::string>{"/proc/self/exe", "--extract", archive.string(), folder};
        });
        ours.push_back(own.seconds);
        memory = std::max(memory, own.mebibytes);
        bsdtar.push_back(run([&](const std::string& folder) {
                             return std::vector<std::string>{"bsdtar", "-xf", archive.string(), "-C", folder};
                         }).seconds);
        unzip.push_back(run([&](const std::string& folder) {
                            return std::vector<std::string>{"unzip", "-q", archive.string(), "-d", folder};
                        }).seconds);
        ratios.push_back(ours.back() / std::min(bsdtar.back(), unzip.back()));
    }
    std::printf("%s %.3f s\n%s_bsdtar %.3f s\n%s_unzip %.3f s\n%s_ratio %.3f of_the_faster\n%s_memory %.1f MiB\n",
                name.c_str(), Median(ours), name.c_str(), Median(bsdtar), name.c_str(), Median(unzip), name.c_str(),
                Median(ratios), name.c_str(), memory);
    std::fflush(stdout);
    return Median(ours);
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc == 4 && std::strcmp(argv[1], "--extract") == 0)
        return Extract(argv[2], argv[3]) ? EXIT_SUCCESS : EXIT_FAILURE;

    const int turns = argc > 1 ? std::atoi(argv[1]) : 5;
    const openhost::TemporaryFolder temporary;
    const fs::path work = argc > 2 ? fs::path(argv[2]) : temporary.Path();
    fs::create_directories(work);

    std::future<void> large =
        std::async(std::launch::async, [&] { MakeArchive(work / "one-entry.zip", 1, std::uint64_t{1} << 30); });
    MakeArchive(work / "16-entries.zip", 16, std::uint64_t{64} << 20);
    MakeArchive(work / "10000-entries.zip", 10'000, 2000);
    MakeArchive(work / "100000-entries.zip", 100'000, 2000);
    large.get();

    Compare("extraction_16_entries", work / "16-entries.zip", temporary.Path(), turns);
    Compare("extraction_one_entry", work / "one-entry.zip", temporary.Path(), turns);
    const double some = Compare("extraction_10000_entries", work / "10000-entries.zip", temporary.Path(), turns);
    const double many = Compare("extraction_100000_entries", work / "100000-entries.zip", temporary.Path(), turns);
    std::printf("extraction_growth %.2f for_ten_times_the_entries\n", many / some);
    return EXIT_SUCCESS;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
}
