// Which items of a scene are in sight.
#pragma once

#include "openhost/desktop/view/ViewScene.h"

#include <array>
#include <cstdint>
#include <vector>

namespace openhost {

/// Four rows of four numbers, which take a point (x, y, z, 1) to (X, Y, Z, W): it is in the picture where X / W, to the
/// right, and Y / W, up, are from -1 to 1; Z / W grows away from the eye.
using Projection = std::array<double, 16>;

/// For each item of `scene` whether it covers a pixel of a picture of `width` times `height` pixels, when it is drawn
/// in the detail of that number. What reaches behind the eye counts as seen.
std::vector<bool> FindSeen(const ViewScene& scene, const std::vector<std::uint8_t>& details,
                           const Projection& projection, int width, int height);

} // namespace openhost
