#include "catalogue/shapes/ShapeIndex.h"

#include <algorithm>
#include <tuple>

namespace catalogue {

std::vector<ShapeIndex::Match> ShapeIndex::Rank(const ShapeDescriptor& descriptor, std::size_t most) const
{
    std::vector<Match> matches;
    matches.reserve(descriptors_.size());
    for (const ShapeDescriptor& each : descriptors_)
        matches.push_back({matches.size(), ShapeDistance(descriptor, each)});
    const auto end = matches.begin() + static_cast<std::ptrdiff_t>(std::min(most, matches.size()));
    std::ranges::partial_sort(matches, end, {},
                              [](const Match& match) { return std::tie(match.distance, match.shape); });
    matches.erase(end, matches.end());
    return matches;
}

} // namespace catalogue
