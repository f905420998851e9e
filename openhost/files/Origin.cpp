#include "openhost/files/Origin.h"

#include <mutex>
#include <set>
#include <utility>

#include <sys/stat.h>
#include <sys/xattr.h>

namespace openhost {

namespace {

constexpr const char* OwnAttribute = "user.openhost.outside";
constexpr const char* BrowserAttribute = "user.xdg.origin.url";

/// The files whose mark could not be written, by device and number.
class UnwrittenMarks {
public:
    void Add(const struct stat& file)
    {
        const std::lock_guard lock(mutex_);
        files_.emplace(file.st_dev, file.st_ino);
    }
    bool Contains(const struct stat& file)
    {
        const std::lock_guard lock(mutex_);
        return files_.contains({file.st_dev, file.st_ino});
    }

private:
    std::mutex mutex_;
    std::set<std::pair<dev_t, ino_t>> files_;
};

UnwrittenMarks& Unwritten()
{
    static UnwrittenMarks marks;
    return marks;
}

} // namespace

void MarkFromOutside(int descriptor)
{
    struct stat status;
    if (fsetxattr(descriptor, OwnAttribute, "1", 1, 0) != 0 && fstat(descriptor, &status) == 0)
        Unwritten().Add(status);
}

bool IsFromOutside(const std::filesystem::path& file)
{
    struct stat status;
    return getxattr(file.c_str(), OwnAttribute, nullptr, 0) >= 0 ||
           getxattr(file.c_str(), BrowserAttribute, nullptr, 0) >= 0 ||
           (stat(file.c_str(), &status) == 0 && Unwritten().Contains(status));
}

} // namespace openhost
