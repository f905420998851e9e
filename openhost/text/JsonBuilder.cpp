#include "JsonBuilder.h"

#include <algorithm>
#include <numeric>

namespace openhost {

using Json = nlohmann::ordered_json;

bool JsonBuilder::key(string_t& name)
{
    levels_.back().members.emplace_back(std::move(name), nullptr);
    return true;
}

bool JsonBuilder::end_object()
{
    std::vector<Member>& members = levels_.back().members;
    MergeDuplicates(members);

    // Filled as the vector that it is: the map's own insertion compares each key with all before it, which a
    // hostile text turns into hours, and growing it step by step copies all that it holds.
    Json object = Json::object();
    std::vector<Json::object_t::value_type>& content = object.get_ref<Json::object_t&>();
    content.reserve(members.size());
    for (auto& [name, value] : members)
        content.emplace_back(std::move(name), std::move(value));
    return Close(std::move(object));
}

bool JsonBuilder::end_array()
{
    return Close(std::move(levels_.back().items));
}

bool JsonBuilder::Add(Json value)
{
    if (levels_.empty())
        result_ = std::move(value);
    else if (levels_.back().isMap)
        levels_.back().members.back().second = std::move(value);
    else
        levels_.back().items.push_back(std::move(value));
    return true;
}

bool JsonBuilder::Open(bool isMap)
{
    if (levels_.size() == static_cast<std::size_t>(ZALOmxMaximumDepth))
        return false;

    levels_.push_back({isMap, {}, {}});
    return true;
}

bool JsonBuilder::Close(Json container)
{
    levels_.pop_back();
    return Add(std::move(container));
}

/// Leaves one member a key: it stands where the first one stood and has the value of the last one.
void JsonBuilder::MergeDuplicates(std::vector<Member>& members)
{
    std::vector<std::size_t> order(members.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
        const int difference = members[left].first.compare(members[right].first);
        return difference < 0 || (difference == 0 && left < right);
    });
    const auto haveOneKey = [&](std::size_t left, std::size_t right) {
        return members[left].first == members[right].first;
    };
    if (std::adjacent_find(order.begin(), order.end(), haveOneKey) == order.end())
        return;

    std::vector<bool> superseded(members.size());
    for (std::size_t begin = 0, end = 0; begin < order.size(); begin = end) {
        Member& first = members[order[begin]];
        for (end = begin + 1; end < order.size() && haveOneKey(order[begin], order[end]); ++end)
            superseded[order[end]] = true;
        if (end - begin > 1)
            first.second = std::move(members[order[end - 1]].second);
    }

    std::size_t position = 0;
    std::erase_if(members, [&](const Member&) { return superseded[position++]; });
}

} // namespace openhost
