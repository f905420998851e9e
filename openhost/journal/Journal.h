// The journal of a session: what happened, one JSON object an event.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

namespace openhost::journal {

/// Receives each event as an object whose first member is "event".
using Sink = std::function<void(const nlohmann::ordered_json&)>;

/// Sends events to `sink` from now on; an empty function drops them. Returns the sink of before.
Sink Redirect(Sink sink);
/// Whether anybody receives events. Ask before building an event that is costly to build.
bool IsOpen();
/// A member of an event: its name and its value.
using Field = std::pair<const char*, nlohmann::ordered_json>;

/// Writes an event with the members `fields` behind its name.
void Write(const std::string& event, std::initializer_list<Field> fields);
/// The same with the members of an object.
void Write(const std::string& event, const nlohmann::ordered_json& fields = nlohmann::ordered_json::object());
/// Writes the event "result": `operation` of the module has returned `code`, which is "S_OK" or eight hexadecimal
/// digits.
void WriteResult(const std::string& operation, std::int32_t code);

} // namespace openhost::journal
