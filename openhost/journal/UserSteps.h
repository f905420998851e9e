// What the user does in windows, as the steps of a session that do the same.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>

namespace openhost {

/// Receives each step, once it is done or just before.
using StepSink = std::function<void(const nlohmann::ordered_json& step)>;

/// Sends steps to `sink` from now on; an empty function drops them. Returns the sink of before.
StepSink RedirectUserSteps(StepSink sink);
/// Hands `step` to the sink, when there is one.
void NoteUserStep(const nlohmann::ordered_json& step);
/// The user has answered the question `dialog`, which the last step has led to.
void NoteUserAnswer(const std::string& dialog, int button);

} // namespace openhost
