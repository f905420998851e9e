// Commands, application and recorder of a run.
#pragma once

#include <string>

class ZALCommandHeader;

namespace openhost {

/// The header of the Find Similar command.
inline constexpr const char* FindSimilarHeader = "ZALVelmartFindSimilarCmdHeader";

/// What a run has. An absent part answers null to the module.
struct CommandOptions {
    bool findSimilarHeader = true; ///< greyed at first
    bool application = true;
    bool recorder = false;
    bool capture = false; ///< the recorder records the user
    bool replay = false;  ///< the recorder plays a recording
};

/// Replaces headers, application and recorder. A process begins with the options by default.
void ConfigureCommands(const CommandOptions& options);
/// Goes back to the options by default.
void ResetCommands();
/// Adds the header `name`, greyed. One that is there already stays as it is.
void AddCommandHeader(const std::string& name);
/// Gives modules `header`, the caller's, under `name` from now on; null goes back to the header of before.
void ReplaceCommandHeader(const std::string& name, ZALCommandHeader* header);
/// Whether the header `name` is there and available in all modes of `mask`.
bool IsHeaderAvailable(const std::string& name, int mask);
/// Times that the display has been repainted since the commands were configured.
int DisplayUpdateCount();

} // namespace openhost
