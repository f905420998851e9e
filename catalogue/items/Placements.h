// Placements of instances in a product.
#pragma once

#include "openhost/documents/Placement.h"

#include <array>

namespace catalogue {

/// Where the x, y and z axes of an instance point; each a unit vector along an axis of the product.
struct Axes {
    std::array<double, 3> x;
    std::array<double, 3> y;
    std::array<double, 3> z;
};

inline constexpr Axes Upright{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

/// The placement with its origin at (x, y, z) and its axes along `axes`.
openhost::Placement At(double x, double y, double z, const Axes& axes = Upright);
/// The point of the product at which `point` of a thing placed by `placement` lies.
std::array<double, 3> Transformed(const openhost::Placement& placement, const std::array<double, 3>& point);

} // namespace catalogue
