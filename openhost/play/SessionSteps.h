// The steps that a session file may have: what they are called, how they are read, what they do.
#pragma once

#include "openhost/play/LocatedRead.h"
#include "openhost/play/SessionStep.h"

#include <string>
#include <vector>

namespace openhost {

/// Reads the step `description`: a map with one of the keys that name a step, and what goes with it.
/// Throws LocatedError.
SessionStep ReadStep(const LocatedJson& description);

// ---------------------------------------------------------------------------------------------
// The kinds of steps, by theme

/// Reads a step from the map `step`, which has the member `key`. Throws LocatedError.
using StepReader = std::function<StepAction(const LocatedJson& step, const std::string& key)>;

struct StepKind {
    std::string key;
    bool acts; ///< as SessionStep::acts
    StepReader read;
};

using StepKinds = std::vector<StepKind>;

StepKinds PageSteps();
StepKinds DialogSteps();
StepKinds DocumentSteps();
StepKinds HostSteps();

// ---------------------------------------------------------------------------------------------
// What they have in common

/// A step without further members. `read` makes what it does out of the value of its key.
StepReader OneMember(StepAction (*read)(const LocatedJson& value, const std::string& key));

using TextReader = const std::string& (*)(const LocatedJson& value, const std::string& key);
using TextAction = void (*)(SessionPlayer& player, const std::string& text);
/// A step without further members that does `act` with its text.
StepReader OneText(TextReader read, TextAction act);

/// The member `name` as a message: a map, or a text that stands for itself.
nlohmann::ordered_json ReadMessage(const LocatedJson& value, const std::string& name);
std::string TextOfMessage(const nlohmann::ordered_json& message);

} // namespace openhost
