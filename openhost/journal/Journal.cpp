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

void Write(const std::string& event, const nlohmann::ordered_json& fields)
{
    const Sink& sink = CurrentSink();
    if (!sink)
        return;
    nlohmann::ordered_json line;
    line["event"] = event;
    for (const auto& [key, value] : fields.items())
        line[key] = value;
    sink(line);
}

} // namespace openhost::journal
