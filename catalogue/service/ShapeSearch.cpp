#include "catalogue/service/ShapeSearch.h"

#include "catalogue/service/UploadedShape.h"
#include "catalogue/shapes/ShapeToken.h"

#include <algorithm>
#include <cmath>

namespace catalogue {

using Json = nlohmann::ordered_json;

ShapeSearch::ShapeSearch(const ItemStore& store) : store_(store)
{
    store.ForEachShape([this](std::int64_t number, std::string_view shape) {
        try {
            shapes_.Add(DecodeShapeToken(shape));
        } catch (const ShapeError&) {
            return;
        }
        items_.push_back(number);
    });
}

std::string ShapeSearch::Accept(std::string_view archive)
{
    const std::lock_guard lock(upload_);
    return EncodeShapeToken(DescribeShape(ReadUploadedShape(archive)));
}

Json ShapeSearch::Search(std::string_view query, std::size_t most) const
{
    const std::vector<ShapeIndex::Match> matches =
        shapes_.Rank(DecodeShapeToken(query), std::min(most, MaximumResults));
    std::vector<std::int64_t> numbers;
    numbers.reserve(matches.size());
    for (const ShapeIndex::Match& match : matches)
        numbers.push_back(items_[match.shape]);
    std::vector<Json> entries = store_.Entries(numbers);
    Json results = Json::array();
    for (std::size_t place = 0; place < matches.size(); ++place) {
        if (!entries[place].is_object())
            continue;
        entries[place]["score"] = std::round(1e4 / (1 + matches[place].distance)) / 1e4;
        results.push_back(std::move(entries[place]));
    }
    return results;
}

} // namespace catalogue
