// The files that a session leaves behind.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <vector>

namespace openhost {

/// Keeps the files that the events of a journal name as extracted, moved or saved, each once under whatever name.
class ResultFiles {
public:
    void Receive(const nlohmann::ordered_json& event);
    /// Those that are still there, in the order in which they came. What was fetched for a while only, such as the
    /// source of what has been rebuilt, is none of them.
    std::vector<std::filesystem::path> Existing() const;

private:
    void Keep(const std::filesystem::path& path);

    std::vector<std::filesystem::path> files_;
};

bool IsProduct(const std::filesystem::path& file);

/// The documents among `files` that are not part of a product among them. One that cannot be read is not part of any.
std::vector<std::filesystem::path> RootDocuments(const std::vector<std::filesystem::path>& files);

} // namespace openhost
