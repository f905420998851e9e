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

constexpr std::string_view Prefix = ".openhost-";

/// Longest time between making something and marking it, with much to spare, in seconds.
constexpr std::time_t MarkingTime = 60;

/// Whether `name` is one of MakeTemporaryName: the prefix, and two numbers with a hyphen between them.
bool IsTemporaryName(std::string_view name)
{
    constexpr std::string_view digits = "0123456789";
    if (!name.starts_with(Prefix))
        return false;
    name.remove_prefix(Prefix.size());
    const std::size_t hyphen = name.find('-');
    return hyphen != 0 && hyphen != std::string_view::npos && hyphen + 1 < name.size() &&
           name.substr(0, hyphen).find_first_not_of(digits) == std::string_view::npos &&
           name.substr(hyphen + 1).find_first_not_of(digits) == std::string_view::npos;
}

/// Removes `path` when it is left over. A link is never followed.
void RemoveLeftover(const std::filesystem::path& path)
{
    const Descriptor found(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!found || !IsLeftOver(found.Number()))
        return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

} // namespace

std::string MakeTemporaryName()
{
    static std::atomic<unsigned int> number = 0;
    return std::string(Prefix) + std::to_string(getpid()) + '-' + std::to_string(++number);
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
        if (IsTemporaryName(entry->path().filename().string()))
            RemoveLeftover(entry->path());
}

} // namespace openhost
