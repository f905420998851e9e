#include "openhost/space/TurnAndShift.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace openhost {

namespace {

constexpr double Radian = 180 / std::numbers::pi; // in degrees
constexpr double ShortestAxis = 1e-6;

} // namespace

bool HasDirection(const Vector& axis)
{
    return std::hypot(axis[0], axis[1], axis[2]) >= ShortestAxis;
}

TurnAndShift TurnAndShift::Of(const Placement& placement)
{
    const auto at = [&](std::size_t row, std::size_t column) { return placement[4 * row + column]; };
    TurnAndShift value{.at = ShiftOf(placement)};
    const double cosine = (at(0, 0) + at(1, 1) + at(2, 2) - 1) / 2;
    // Twice the sine times the axis.
    const Vector twice{at(2, 1) - at(1, 2), at(0, 2) - at(2, 0), at(1, 0) - at(0, 1)};
    const double length = std::hypot(twice[0], twice[1], twice[2]);
    value.degrees = std::atan2(length / 2, cosine) * Radian;
    if (length > ShortestAxis) {
        for (std::size_t i = 0; i < 3; ++i)
            value.axis[i] = twice[i] / length;
    } else if (cosine < 0) {
        // A half turn: (R + 1) / 2 is the axis times itself.
        std::size_t largest = 0;
        for (std::size_t i = 1; i < 3; ++i)
            if (at(i, i) > at(largest, largest))
                largest = i;
        const double root = std::sqrt(std::max(0.0, (at(largest, largest) + 1) / 2));
        for (std::size_t i = 0; i < 3; ++i)
            value.axis[i] = (at(largest, i) + (i == largest ? 1 : 0)) / (2 * root);
    }
    return value;
}

Placement TurnAndShift::ToPlacement() const
{
    const double length = std::hypot(axis[0], axis[1], axis[2]);
    const Vector unit{axis[0] / length, axis[1] / length, axis[2] / length};
    const auto& [x, y, z] = unit;
    const double sine = std::sin(degrees / Radian);
    const double cosine = std::cos(degrees / Radian);
    // Rodrigues' formula.
    const std::array<Vector, 3> cross{{{0, -z, y}, {z, 0, -x}, {-y, x, 0}}};
    Placement placement{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            placement[4 * row + column] =
                (row == column ? cosine : 0) + sine * cross[row][column] + (1 - cosine) * unit[row] * unit[column];
        placement[4 * row + 3] = at[row];
    }
    return placement;
}

} // namespace openhost
