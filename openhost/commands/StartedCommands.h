// Commands that the user starts.
#pragma once

#include <string>

class ZALCommand;

namespace openhost {

/// Why a command was not started.
enum class StartResult {
    Started,
    Unknown, ///< no class of that name makes commands
    Greyed,  ///< its header, named as the class with "Header" after it, is not available
};

/// Starts a command by the name of its class, as menus and tool bars do. The run owns it until it has asked for its
/// end. A class without a header can be started at any time.
StartResult StartCommand(const std::string& className);
/// Drops the host's reference on `command`, which has asked for that; while a command is being made, when that is done:
/// it may be this one, whose constructor runs the loop. To be called between events.
void EndCommand(ZALCommand& command);
/// Asks every command that was started, and still lives, to end. The loop has to run for that.
void EndStartedCommands();

} // namespace openhost
