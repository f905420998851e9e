// Placements of instances in a product.
#pragma once

#include "openhost/space/Placement.h"

namespace catalogue {

/// Where the x, y and z axes of an instance point; each a unit vector along an axis of the product.
struct Axes {
    openhost::Vector x;
    openhost::Vector y;
    openhost::Vector z;
};

inline constexpr Axes Upright{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

/// The placement with its origin at (x, y, z) and its axes along `axes`.
openhost::Placement At(double x, double y, double z, const Axes& axes = Upright);

} // namespace catalogue
