// Sizes of pictures.
#pragma once

#include <string>

namespace openhost {

struct PictureSize {
    static constexpr int Maximum = 8192;

    int width = 800; ///< in pixels
    int height = 600;

    /// Reads "WIDTHxHEIGHT", each from 1 to Maximum. Throws std::invalid_argument.
    static PictureSize Parse(const std::string& text);
    /// What Parse reads.
    std::string Text() const;
    bool operator==(const PictureSize&) const = default;
};

} // namespace openhost
