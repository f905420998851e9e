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

std::string End::Undone() const
{
    std::string text;
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
    const auto addList = [&add](const char* what, const std::vector<std::string>& names) {
        std::string list;
        for (const std::string& name : names)
            list += (list.empty() ? "" : ", ") + name;
        if (!names.empty())
            add(what + list);
    };
    if (unusedAnswers)
        add("answers that no question used: " + std::to_string(*unusedAnswers));
    if (unusedReplies)
        add("replies that no message used: " + std::to_string(*unusedReplies));
    addList("documents that are not saved: ", unsavedDocuments);
    addList("questions that were closed without an answer: ", closedQuestions);
    addList("windows that stayed open: ", openWindows);
    return text;
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
