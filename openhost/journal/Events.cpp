#include "openhost/journal/Events.h"

#include <array>
#include <cstdio>

namespace openhost::journal {

std::string CodeText(std::int32_t code)
{
    if (code == 0)
        return "S_OK";
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned int>(code));
    return text.data();
}

nlohmann::ordered_json Joined(const Headers& headers)
{
    auto joined = nlohmann::ordered_json::object();
    for (const auto& [name, value] : headers)
        joined[name] = joined.contains(name) ? joined[name].get<std::string>() + ", " + value : value;
    return joined;
}

void WriteResult(const char* operation, std::int32_t code)
{
    Write([&] { return Result{.operation = operation, .code = code}; });
}

} // namespace openhost::journal
