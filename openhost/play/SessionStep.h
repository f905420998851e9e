// One step of a session.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <stdexcept>
#include <string>

namespace openhost {

class SessionPlayer;

/// Why a step could not be done.
class StepFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a step does. Throws StepFailure with the reason when it cannot.
using StepAction = std::function<void(SessionPlayer& player)>;

/// A step, read from its file and checked.
struct SessionStep {
    std::string key;   ///< names the step in the file
    bool acts = false; ///< on the module, so that waits after it look at the events from it on
    StepAction run;
    nlohmann::ordered_json source{}; ///< the step as the file has it
};

} // namespace openhost
