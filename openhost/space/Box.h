// Boxes along the axes.
#pragma once

#include "openhost/space/Vector.h"

#include <array>
#include <cstddef>
#include <optional>

namespace openhost {

/// The points between two corners, in millimetres. It holds one at least: what may hold none is an optional box.
struct Box {
    Vector lowest{};
    Vector highest{};

    double Extent(std::size_t axis) const { return highest[axis] - lowest[axis]; }
    double Middle(std::size_t axis) const { return (lowest[axis] + highest[axis]) / 2; }
    double Diagonal() const { return Length(Difference(highest, lowest)); }
    std::array<Vector, 8> Corners() const;
    bool operator==(const Box&) const = default;
};

/// Widens `box` as far as `point`; it becomes that point alone when it holds none yet.
void Widen(std::optional<Box>& box, const Vector& point);

} // namespace openhost
