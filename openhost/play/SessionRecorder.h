// What is done in a run, as a session file that does it again.
#pragma once

#include "openhost/play/Session.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace openhost {

/// Puts a session together: the steps of the one that is played, but for those that need a real page, and what the user
/// does beside and after them. The values of placeholders that were given become these placeholders again.
class SessionRecorder {
public:
    using Json = nlohmann::ordered_json;

    /// `session` outlives the recorder. `isBusy` tells whether anything is being transferred.
    SessionRecorder(const Session& session, std::function<bool()> isBusy);

    /// Takes the settings that the run begins with.
    void SetSettings(const SessionSettings& settings);
    void AddStep(const SessionStep& step);
    /// A step as UserSteps.h tells it. Waits go before it, until the host has come as far as it had for the user; an
    /// answer goes before the step that has led to the question.
    void AddUserStep(const Json& step);
    /// The session, as its file has it. With an end that waits until everything is done, unless that is still going on.
    std::string Text() const;

private:
    void AddWait(const Json& step);
    bool Merge(const Json& step);
    Json WithPlaceholders(const Json& value) const;

    const Session& session_;
    std::function<bool()> isBusy_;
    Json header_;
    std::vector<Json> steps_;
};

} // namespace openhost
