// The search for items by shape.
#pragma once

#include "catalogue/shapes/ShapeIndex.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

/// The items of an index whose entries have a member "shape". Nothing is kept of an upload: its query holds all that
/// the search needs. Any thread.
class ShapeSearch {
public:
    /// Largest index.
    static constexpr std::uintmax_t MaximumIndexSize = 64 << 20;

    /// Reads the index in the file `index`, a list. Entries without a shape are left out; one that is missing or
    /// damaged as a whole has none.
    explicit ShapeSearch(const std::filesystem::path& index);

    /// The query for the shape in the zip archive `archive`. Throws UploadError, openhost::LvrError or ShapeError.
    std::string Accept(std::string_view archive);
    /// All items, the most similar first: their entries of the index without "shape", with "score", which is 1 for the
    /// very same shape and falls towards 0. Throws ShapeError for a text that is no query.
    nlohmann::ordered_json Search(std::string_view query) const;

private:
    std::vector<nlohmann::ordered_json> items_;
    ShapeIndex shapes_; ///< in the order of the items
    std::mutex upload_; ///< one upload is unpacked at a time, which bounds the memory
};

} // namespace catalogue
