#include "openhost/journal/Journal.h"

#include <array>
#include <cstdio>
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

void Write(const std::string& event, std::initializer_list<Field> fields)
{
    // The object is made only for those who receive it: its own end may need memory, and then cannot fail.
    if (!IsOpen())
        return;
    nlohmann::ordered_json members = nlohmann::ordered_json::object();
    for (const auto& [name, value] : fields)
        members[name] = value;
    Write(event, members);
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

void WriteResult(const std::string& operation, std::int32_t code)
{
    std::array<char, 16> text{"S_OK"};
    if (code != 0)
        std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned int>(code));
    Write("result", {{"operation", operation}, {"code", text.data()}});
}

} // namespace openhost::journal
