// A folder that lives as long as its object.
#pragma once

#include <filesystem>

namespace openhost {

class TemporaryFolder {
public:
    /// Makes a new empty folder, readable by this user only, among the temporary files of the system.
    /// Throws std::system_error when that fails.
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    /// Removes the folder with all that is in it. A process that was forked meanwhile leaves it alone.
    ~TemporaryFolder();

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
    long owner_; ///< the process that made it
};

} // namespace openhost
