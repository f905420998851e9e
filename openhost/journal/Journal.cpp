#include "openhost/journal/Journal.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace openhost::journal {

namespace {

Sink& CurrentSink()
{
    static Sink sink;
    return sink;
}

std::vector<Listener*>& Listeners()
{
    static std::vector<Listener*> listeners;
    return listeners;
}

} // namespace

Sink Redirect(Sink sink)
{
    return std::exchange(CurrentSink(), std::move(sink));
}

Listener::Listener(Sink hear) : hear_(std::move(hear))
{
    Listeners().push_back(this);
}

Listener::~Listener()
{
    std::erase(Listeners(), this);
}

bool IsOpen()
{
    return CurrentSink() || !Listeners().empty();
}

void Send(const nlohmann::ordered_json& event)
{
    if (const Sink& sink = CurrentSink())
        sink(event);
    // One that hears may begin or end others.
    for (Listener* listener : std::vector(Listeners()))
        if (std::ranges::find(Listeners(), listener) != Listeners().end())
            listener->hear_(event);
}

} // namespace openhost::journal
