#include "openhost/play/Expand.h"

#include <stdexcept>

namespace openhost {

std::string Expand(const std::string& text, const std::function<std::string(const std::string& name)>& find)
{
    std::string expanded;
    std::size_t at = 0;
    for (;;) {
        const std::size_t mark = text.find("${", at);
        if (mark == std::string::npos)
            return expanded + text.substr(at);

        if (mark > at && text[mark - 1] == '$') {
            expanded += text.substr(at, mark - at - 1) + "${";
            at = mark + 2;
            continue;
        }
        const std::size_t end = text.find('}', mark);
        if (end == std::string::npos)
            throw std::invalid_argument("a placeholder has no end: " + text.substr(mark));
        expanded += text.substr(at, mark - at) + find(text.substr(mark + 2, end - mark - 2));
        at = end + 1;
    }
}

nlohmann::ordered_json ExpandAll(nlohmann::ordered_json value,
                                 const std::function<std::string(const std::string& name)>& find)
{
    if (value.is_string())
        return Expand(value.get_ref<const std::string&>(), find);
    if (value.is_structured())
        for (auto& member : value)
            member = ExpandAll(std::move(member), find);
    return value;
}

} // namespace openhost
