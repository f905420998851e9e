#include "TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <unistd.h>

namespace openhost {

TemporaryFolder::TemporaryFolder() : owner_(getpid())
{
    std::error_code error;
    std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    if (error)
        parent = "/tmp";

    std::string name = (parent / "openhost-XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), "cannot make a temporary folder in " + parent.string());
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    if (owner_ != getpid())
        return;

    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace openhost
