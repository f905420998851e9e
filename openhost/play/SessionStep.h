// One step of a session.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace openhost {

class SessionPlayer;

/// Why a step could not be done.
class StepFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A step, read from its file and checked.
class SessionStep {
public:
    explicit SessionStep(std::string key) : key_(std::move(key)) {}
    virtual ~SessionStep() = default;

    /// The key that names the step in the file.
    const std::string& Key() const { return key_; }
    /// Whether the step acts on the module, so that waits behind it look at the events from it on.
    virtual bool Acts() const = 0;
    /// Does the step. Throws StepFailure with the reason.
    virtual void Run(SessionPlayer& player) const = 0;

private:
    std::string key_;
};

} // namespace openhost
