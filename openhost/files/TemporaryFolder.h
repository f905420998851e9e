// A folder that lives as long as its object.
#pragma once

#include "openhost/files/Descriptor.h"

#include <filesystem>

namespace openhost {

class TemporaryFolder {
public:
    /// Makes a new empty folder, readable by this user only, among the temporary files of the system. Removes there
    /// what killed processes have left, once in the life of this process. Throws std::system_error when that fails.
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    /// Removes the folder with all that is in it. A process that was forked meanwhile leaves it alone.
    ~TemporaryFolder();

    const std::filesystem::path& Path() const { return path_; }
    /// Makes the folder again when somebody has removed it, as those do who clear old temporary files. Throws
    /// std::system_error when that fails.
    void Restore();

private:
    void Hold();

    std::filesystem::path path_;
    Descriptor folder_; ///< marks it as in use
    long owner_;        ///< the process that made it
};

} // namespace openhost
