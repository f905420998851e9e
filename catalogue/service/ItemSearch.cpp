#include "catalogue/service/ItemSearch.h"

#include <algorithm>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t MaximumFirst = 1'000'000'000;

std::vector<std::string> AlternativesOf(const std::string& word)
{
    std::vector<std::string> alternatives;
    for (std::size_t begin = 0; begin <= word.size();) {
        const std::size_t end = std::min(word.find('|', begin), word.size());
        alternatives.push_back(word.substr(begin, end - begin));
        begin = end + 1;
    }
    return alternatives;
}

std::size_t ReadSize(const std::string& value)
{
    const auto from = static_cast<double>(ParseNumber("size", value, 0, static_cast<std::uint64_t>(SizeRanges.back())));
    const auto range = std::ranges::find(SizeRanges, from);
    if (range == SizeRanges.end())
        throw ParameterError("'size' must be the beginning of a range of sizes");
    return static_cast<std::size_t>(range - SizeRanges.begin());
}

Json ToJson(const std::vector<Choice>& choices)
{
    Json list = Json::array();
    for (const Choice& choice : choices)
        list.push_back({{"name", choice.name}, {"count", choice.count}});
    return list;
}

} // namespace

ItemQuery ReadItemQuery(const QueryParameters& parameters)
{
    ItemQuery query;
    QueryParameters others;
    for (const auto& [name, value] : parameters)
        if (name == "word")
            query.words.push_back(AlternativesOf(value));
        else
            others.emplace(name, value);
    for (const auto& [name, value] : TakeOnce(others))
        if (name == "category")
            query.category = value;
        else if (name == "material")
            query.material = value;
        else if (name == "size")
            query.size = ReadSize(value);
        else if (name == "first")
            query.first = ParseNumber(name, value, 0, MaximumFirst);
        else if (name == "count")
            query.count = ParseNumber(name, value, 0, MaximumPageItems);
        else
            throw ParameterError("unknown parameter '" + name + "'");
    return query;
}

Json ToJson(const ItemPage& page)
{
    Json answer{{"total", page.total}};
    if (!page.meant.empty())
        answer["meant"] = page.meant;
    answer["categories"] = ToJson(page.categories);
    answer["materials"] = ToJson(page.materials);
    answer["sizes"] = Json::array();
    for (std::size_t range = 0; range < SizeRanges.size(); ++range) {
        if (page.sizes[range] == 0)
            continue;
        Json size{{"from", SizeRanges[range]}};
        if (range + 1 < SizeRanges.size())
            size["to"] = SizeRanges[range + 1];
        size["count"] = page.sizes[range];
        answer["sizes"].push_back(std::move(size));
    }
    answer["items"] = page.items;
    return answer;
}

} // namespace catalogue
