#include "FileMove.h"

#include <string>
#include <system_error>

#include <stdlib.h>

namespace openhost {

bool MoveToOtherVolume(const std::filesystem::path& source, const std::filesystem::path& target)
{
    // Written in a folder of its own beside the target, so that the rename at the end stays on its volume.
    std::string folder = target.string() + ".XXXXXX";
    if (!mkdtemp(folder.data()))
        return false;
    const std::filesystem::path copy = std::filesystem::path(folder) / "copy";

    std::error_code error;
    std::filesystem::copy(source, copy, std::filesystem::copy_options::copy_symlinks, error);
    if (!error)
        std::filesystem::rename(copy, target, error);
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    if (error)
        return false;

    std::filesystem::remove(source, error);
    if (error)
        std::filesystem::remove(target, ignored);
    return !error;
}

} // namespace openhost
