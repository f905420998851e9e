// The journal of a session: what happened, one JSON object an event. Events.h has the events, and writes them.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>

namespace openhost::journal {

/// Receives each event as an object whose first member is "event".
using Sink = std::function<void(const nlohmann::ordered_json&)>;

/// Sends events to `sink` from now on; an empty function drops them. Returns the sink of before.
Sink Redirect(Sink sink);

/// Hears events beside the sink, after it and in the order of the listeners' making, for as long as it lives.
class Listener {
public:
    explicit Listener(Sink hear);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener();

private:
    friend void Send(const nlohmann::ordered_json& event);

    Sink hear_;
};

/// Whether anybody receives events.
bool IsOpen();
/// Hands `event` to the sink, when there is one, and to the listeners.
void Send(const nlohmann::ordered_json& event);

} // namespace openhost::journal
