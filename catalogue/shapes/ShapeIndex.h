// The shapes of the catalogue, to be searched.
#pragma once

#include "catalogue/shapes/ShapeDescriptor.h"

#include <vector>

namespace catalogue {

/// Searching is for any number of threads at once, as long as none adds.
class ShapeIndex {
public:
    struct Match {
        std::size_t shape; ///< counted from 0 in the order of adding
        double distance;   ///< see ShapeDistance
        bool operator==(const Match&) const = default;
    };

    void Add(const ShapeDescriptor& descriptor) { descriptors_.push_back(descriptor); }
    /// The `most` shapes that are the most similar, the closest first; of equally similar ones that which was added
    /// first.
    std::vector<Match> Rank(const ShapeDescriptor& descriptor, std::size_t most) const;

private:
    std::vector<ShapeDescriptor> descriptors_;
};

} // namespace catalogue
