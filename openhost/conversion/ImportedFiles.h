// Files that come into a folder of the user's together.
#pragma once

#include "openhost/files/Descriptor.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace openhost {

/// Whether files may take the places of others.
enum class ReplaceFiles { No, Yes };

/// Files that are written below a hidden folder in the one where they belong, and come there all at once or not at all.
class ImportedFiles {
public:
    /// The files of one Place that are brought to the disk one by one; with more of them, the whole file system is.
    static constexpr std::size_t MaximumSingleSyncs = 16;

    /// They belong into `target`, which is made where it is not. Throws std::runtime_error.
    explicit ImportedFiles(const std::filesystem::path& target);
    ImportedFiles(const ImportedFiles&) = delete;
    ImportedFiles& operator=(const ImportedFiles&) = delete;
    /// Takes back what was not placed, folders that were made for it too.
    ~ImportedFiles();

    /// Where they are written first.
    const std::filesystem::path& Folder() const { return folder_; }
    /// Brings all files of Folder to the disk and to their places. Throws std::runtime_error when one cannot come there
    /// or, unless it may replace it, another file stands there: then everything is as it was.
    void Place(ReplaceFiles replace);

private:
    /// A file and what it has taken the place of.
    struct Placed {
        std::string name;
        bool isExchanged;
    };

    std::vector<std::string> FindFiles() const;
    void Synchronize(const std::vector<std::string>& names) const;
    Placed PlaceOne(const std::string& name, ReplaceFiles replace) const;
    void TakeBack(const Placed& file) const noexcept;

    std::filesystem::path target_;
    std::filesystem::path folder_;
    std::vector<std::filesystem::path> made_; ///< folders that were made, the outermost first
    Descriptor opened_;                       ///< the hidden folder, which it marks as in use
};

} // namespace openhost
