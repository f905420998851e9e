// Whole files in tests.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace openhost::testing {

/// The bytes of `path`; empty for a file that is not there.
inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(content).str();
}

/// Writes `bytes` to `path`, whose folders are made. Throws std::runtime_error.
inline void WriteBytes(const std::filesystem::path& path, std::string_view bytes)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush())
        throw std::runtime_error("cannot write " + path.string());
}

/// Paths of all files below `folder`, relative to it and sorted; folders are left out.
inline std::vector<std::string> FilesBelow(const std::filesystem::path& folder)
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (!entry.is_directory())
            files.push_back(entry.path().lexically_relative(folder).string());
    std::ranges::sort(files);
    return files;
}

/// Names of what stands in `folder`, sorted.
inline std::vector<std::string> NamesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

/// Installs the message catalog `name` with `lines` below the folder of a test's host.
inline void WriteCatalog(const std::filesystem::path& folder, const std::string& name, std::string_view lines)
{
    WriteBytes(folder / "installation" / "resources" / "msgcatalog" / (name + ".ZALNls"), lines);
}

} // namespace openhost::testing
