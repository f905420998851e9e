#include "openhost/files/Leftovers.h"

#include "openhost/files/Descriptor.h"

#include <atomic>
#include <ctime>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

namespace {

constexpr std::string_view HiddenPrefix = ".openhost-";
constexpr std::string_view FolderPrefix = "openhost-temporary-";

/// Longest time between making something and marking it, with much to spare, in seconds.
constexpr std::time_t MarkingTime = 60;

/// Whether `name` is `prefix` and two numbers with a hyphen between them.
bool IsNumbered(std::string_view name, std::string_view prefix)
{
    const auto isNumber = [](std::string_view text) {
        return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
    };
    if (!name.starts_with(prefix))
        return false;
    name.remove_prefix(prefix.size());
    const std::size_t hyphen = name.find('-');
    return hyphen != std::string_view::npos && isNumber(name.substr(0, hyphen)) && isNumber(name.substr(hyphen + 1));
}

std::string MakeNumbered(std::string_view prefix)
{
    static std::atomic<unsigned int> number = 0;
    return std::string(prefix) + std::to_string(getpid()) + '-' + std::to_string(++number);
}

/// Removes `path` when it has such a name and is left over. A link is never followed.
void RemoveLeftover(const std::filesystem::path& path)
{
    const std::string name = path.filename().string();
    const bool isFolder = IsNumbered(name, FolderPrefix);
    if (!isFolder && !IsNumbered(name, HiddenPrefix))
        return;
    const Descriptor found(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (isFolder ? O_DIRECTORY : 0)));
    if (!found || !IsLeftOver(found.Number()))
        return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

} // namespace

std::string MakeTemporaryName()
{
    return MakeNumbered(HiddenPrefix);
}

std::string MakeTemporaryFolderName()
{
    return MakeNumbered(FolderPrefix);
}

void MarkInUse(int descriptor)
{
    // A file system without locks has none that IsLeftOver could take either.
    flock(descriptor, LOCK_EX | LOCK_NB);
}

bool IsLeftOver(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && status.st_uid == geteuid() &&
           std::time(nullptr) - status.st_mtime > MarkingTime && flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

void ClearLeftovers(const std::filesystem::path& place)
{
    const std::filesystem::path folder = place.empty() ? "." : place;
    static std::mutex mutex;
    static std::set<std::filesystem::path> cleared;
    {
        const std::lock_guard lock(mutex);
        if (!cleared.insert(std::filesystem::absolute(folder)).second)
            return;
    }
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        RemoveLeftover(entry->path());
}

} // namespace openhost
