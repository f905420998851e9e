// The description of a user session, as its file gives it.
#pragma once

#include "openhost/play/SessionStep.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace openhost {

/// Values of placeholders by name.
using Placeholders = std::map<std::string, std::string>;

/// The settings that a session begins with.
struct SessionSettings {
    std::string downloadLocation;
    bool doNotRemindDownloadLocation = false;
    std::map<std::string, char> locks; ///< setting to lock character
};

/// All texts are as they stand in the file, with their placeholders in them. Relative paths count from the
/// folder of the file.
struct Session {
    std::filesystem::path folder;                                  ///< where the file lies
    Placeholders given;                                            ///< from the command line
    std::map<std::string, std::string> variables;                  ///< path variables
    std::map<std::string, std::optional<std::string>> environment; ///< nothing removes a variable
    std::optional<SessionSettings> settings;
    std::optional<std::string> settingsFile;
    bool frame = true;
    std::string workshop = "PRDWorkshop";
    std::vector<std::string> documents; ///< open at the start, the last one active
    bool traces = false;
    bool strict = false; ///< what is left undone makes the session fail
    std::vector<SessionStep> steps;
    nlohmann::ordered_json header = nlohmann::ordered_json::object(); ///< the whole file but its steps
};

} // namespace openhost
