// What the program that makes items is asked for, and what it answers: a program of its own, since the solid kernel may
// crash on what others made.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

/// The item that a STEP file or a document becomes.
struct SourceJob {
    std::filesystem::path file;
    std::filesystem::path output; ///< the folder that gets its files, as WriteItem says
    std::string id;
    std::string name; ///< of the file in the user's folder
    std::string category;
    std::string catalogue; ///< name of the whole

    std::string Encode() const;
    /// Throws std::invalid_argument.
    static SourceJob Decode(std::string_view bytes);
};

struct SourceAnswer {
    nlohmann::ordered_json entry;
    std::vector<std::filesystem::path> files; ///< which were read
    std::vector<std::string> warnings;        ///< a line about each thing that is left out

    std::string Encode() const;
    /// Throws std::invalid_argument.
    static SourceAnswer Decode(std::string_view bytes);
};

} // namespace catalogue
