// Pictures in memory and as PNG files.
#pragma once

#include "openhost/geometry_process/PictureSize.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace openhost {

/// Why there is no picture.
class PictureError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Red, green and blue.
using Color = std::array<std::uint8_t, 3>;

/// Rows from the top, pixels from the left.
struct Picture {
    PictureSize size;
    std::vector<Color> pixels;

    const Color& At(int x, int y) const
    {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) + static_cast<std::size_t>(x)];
    }
};

/// The PNG file of `picture`; equal pictures give equal bytes. Throws PictureError.
std::string EncodePng(const Picture& picture);

} // namespace openhost
