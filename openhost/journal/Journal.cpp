#include "openhost/journal/Journal.h"

#include <utility>

namespace openhost::journal {

namespace {
Sink& CurrentSink()
{
    static Sink sink;
    return sink;
}
} // namespace

Sink Redirect(Sink sink)
{
    return std::exchange(CurrentSink(), std::move(sink));
}

bool IsOpen()
{
    return static_cast<bool>(CurrentSink());
}

void Send(const nlohmann::ordered_json& event)
{
    if (const Sink& sink = CurrentSink())
        sink(event);
}

} // namespace openhost::journal
