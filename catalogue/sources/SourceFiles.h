// The files of a user's folder that become items.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace catalogue {

struct SourceFile {
    std::filesystem::path path;
    std::uintmax_t size = 0; ///< in bytes
    std::string stamp;       ///< another one when the file has been written
};

/// By their names: the paths below the folder, with "/" between, in UTF-8 or what stands instead.
using SourceFiles = std::map<std::string, SourceFile>;

/// Why one is left out, or what is left out of it.
struct SourceRemark {
    std::string name;
    std::string text;
    bool operator==(const SourceRemark&) const = default;
};

/// The STEP files and documents in `folder` and below it, without what is hidden, and without what lies in `except`.
/// Links are not followed. A folder that cannot be read gets a remark. Throws std::runtime_error when `folder` itself
/// cannot be read.
SourceFiles FindSourceFiles(const std::filesystem::path& folder, const std::filesystem::path& except,
                            std::vector<SourceRemark>& remarks);

/// Whether the ending of `file` is that of a STEP file.
bool IsStepFile(const std::filesystem::path& file);

} // namespace catalogue
