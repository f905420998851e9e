#include "TemporaryFolder.h"

#include "openhost/files/Leftovers.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

namespace {

constexpr mode_t Private = 0700;

/// The one that the user has named, or that of the system: never that in place of his own, which may have been chosen
/// for its room, or for the volume that it lies on.
std::filesystem::path FolderOfTheSystem()
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) {
        const char* named = std::getenv("TMPDIR");
        throw std::system_error(error, std::string("the folder for temporary files cannot be used: ") +
                                           (named ? named : "/tmp"));
    }
    return folder;
}

} // namespace

TemporaryFolder::TemporaryFolder() : owner_(getpid())
{
    const std::filesystem::path parent = FolderOfTheSystem();
    ClearLeftovers(parent);
    do
        path_ = parent / MakeTemporaryFolderName();
    while (mkdir(path_.c_str(), Private) != 0 && errno == EEXIST);
    Hold();
}

TemporaryFolder::~TemporaryFolder()
{
    if (owner_ != getpid())
        return;

    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void TemporaryFolder::Restore()
{
    if (mkdir(path_.c_str(), Private) == 0)
        Hold();
    else if (errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), "cannot make " + path_.string() + " again");
}

void TemporaryFolder::Hold()
{
    folder_ = Descriptor(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder_)
        throw std::system_error(errno, std::generic_category(), "cannot make a temporary folder at " + path_.string());
    MarkInUse(folder_.Number());
}

} // namespace openhost
