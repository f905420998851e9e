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
    int behavior = 0;  ///< as the command was made
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
    /// Whether a command waits for an element.
    bool IsWaitingForElement() const;
    /// Why Offer would refuse `path` at present, in words; empty when it would be taken. Asks the filters of the
    /// command, and changes nothing.
    std::string Refusal(ZALPathElement* path) const;
    /// Ends `command` as the host does by itself: Cancel is called, no further transition is taken, and the command is
    /// released between events. One that has ended or is unknown is ignored.
    void EndCommand(ZALStateCommand* command);
    /// Ends all commands, the newest first.
    void EndAll();
    /// The commands that have not ended, the oldest first.
    std::vector<RunningCommand> Commands() const;
    /// The graph of `command` in the order in which it was built: a line a state, such as "state Begin [Key]:
    /// Selection, Cancel" with its key and its agents, and a line a transition, such as "Begin to End when Selection,
    /// by an action".
    static std::vector<std::string> GraphOf(const ZALStateCommand& command);

private:
    friend struct ::ZALStateCommandRun;
    DialogEngine() = default;

    /// The newest run that waits for an element, or null.
    ZALStateCommandRun* FindWaiting() const;

    std::vector<ZALStateCommandRun*> runs_; ///< of the commands that have not ended, the oldest first
};

} // namespace openhost
