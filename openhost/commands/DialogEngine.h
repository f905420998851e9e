// Runs state commands.
#pragma once

#include "host/dialog_engine.h"

#include <string>
#include <vector>

namespace openhost {

/// What has become of a pick of the user.
struct Pick {
    bool accepted = false;
    std::string command; ///< the one that took or refused it; empty when none waits for an element
    std::string reason;  ///< of a refusal, in words
};

/// A state command that has not ended.
struct RunningCommand {
    ZALStateCommand* command; ///< stays valid until the command has ended and the loop has run an event
    std::string name;
    std::string state; ///< empty before it has entered the initial state
};

/// The engine. What drives it: posted calls of the event loop, values that code gives to agents, and the
/// picks of the user.
class DialogEngine {
public:
    static DialogEngine& Current();

    /// Offers the element that the user has picked to the newest command that waits for one: whose active state has
    /// an agent for elements, and none of whose code is running. Agents without a value come first. `path` stays the
    /// caller's; the agent that takes it adds a reference. `element` names it in the journal.
    Pick Offer(ZALPathElement* path, const std::string& element = {});
    /// Ends `command` as the host does by itself: Cancel is called, no further transition is taken, and the command is
    /// released between events. One that has ended or is unknown is ignored.
    void EndCommand(ZALStateCommand* command);
    /// Ends all commands, the newest first.
    void EndAll();
    /// The commands that have not ended, the oldest first.
    std::vector<RunningCommand> Commands() const;

private:
    friend struct ::ZALStateCommandRun;
    DialogEngine() = default;

    std::vector<ZALStateCommandRun*> runs_; ///< of the commands that have not ended, the oldest first
};

} // namespace openhost
