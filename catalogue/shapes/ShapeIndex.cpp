#include "catalogue/shapes/ShapeIndex.h"

#include <algorithm>
#include <tuple>

namespace catalogue {

std::vector<ShapeIndex::Match> ShapeIndex::Rank(const ShapeDescriptor& descriptor) const
{
    std::vector<Match> matches;
    matches.reserve(descriptors_.size());
    for (const ShapeDescriptor& each : descriptors_)
        matches.push_back({matches.size(), ShapeDistance(descriptor, each)});
    std::ranges::sort(matches, {}, [](const Match& match) { return std::tie(match.distance, match.shape); });
    return matches;
}

} // namespace catalogue
