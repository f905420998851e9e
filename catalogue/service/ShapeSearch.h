// The search for items by shape.
#pragma once

#include "catalogue/shapes/ShapeIndex.h"
#include "catalogue/store/ItemStore.h"

#include <nlohmann/json.hpp>

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

/// The items of a store that have a shape. Nothing is kept of an upload: its query holds all that the search needs. Any
/// thread.
class ShapeSearch {
public:
    /// Most items that a search gives.
    static constexpr std::size_t MaximumResults = 1000;

    /// Of the items of `store`, which outlives this object. Shapes that cannot be read are left out.
    explicit ShapeSearch(const ItemStore& store);

    /// The query for the shape in the zip archive `archive`. Throws UploadError, openhost::LvrError or ShapeError.
    std::string Accept(std::string_view archive);
    /// The `most` items that are the most similar, the closest first: their entries with "score", which is 1 for the
    /// very same shape and falls towards 0. Throws ShapeError for a text that is no query.
    nlohmann::ordered_json Search(std::string_view query, std::size_t most) const;

private:
    const ItemStore& store_;
    std::vector<std::int64_t> items_; ///< numbers
    ShapeIndex shapes_;               ///< in the order of the items
    std::mutex upload_;               ///< one upload is unpacked at a time, which bounds the memory
};

} // namespace catalogue
