// The journal of a session: what happened, one JSON object an event.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace openhost::journal {

/// Receives each event as an object whose first member is "event".
using Sink = std::function<void(const nlohmann::ordered_json&)>;

/// Sends events to `sink` from now on; an empty function drops them. Returns the sink of before.
Sink Redirect(Sink sink);
/// Whether anybody receives events. Ask before building an event that is costly to build.
bool IsOpen();
/// Writes an event with the members of `fields` behind its name.
void Write(const std::string& event, const nlohmann::ordered_json& fields = nlohmann::ordered_json::object());

} // namespace openhost::journal
