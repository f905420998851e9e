#include "openhost/space/Placement.h"

#include <cmath>

namespace openhost {

namespace {

/// How far the product of a rotation with its transpose may be from one.
constexpr double RotationTolerance = 1e-6;

} // namespace

bool IsRigid(const Placement& p)
{
    const double determinant =
        p[0] * (p[5] * p[10] - p[6] * p[9]) - p[1] * (p[4] * p[10] - p[6] * p[8]) + p[2] * (p[4] * p[9] - p[5] * p[8]);
    if (!(determinant > 0) || !std::isfinite(p[3] + p[7] + p[11]))
        return false;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            double product = 0;
            for (std::size_t k = 0; k < 3; ++k)
                product += p[4 * i + k] * p[4 * j + k];
            if (!(std::abs(product - (i == j ? 1 : 0)) <= RotationTolerance))
                return false;
        }
    return true;
}

Placement Within(const Placement& outer, const Placement& inner)
{
    Placement placement{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = column == 3 ? outer[4 * row + 3] : 0;
            for (std::size_t k = 0; k < 3; ++k)
                sum += outer[4 * row + k] * inner[4 * k + column];
            placement[4 * row + column] = sum;
        }
    return placement;
}

Placement Inverse(const Placement& placement)
{
    Placement inverse{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t k = 0; k < 3; ++k) {
            inverse[4 * row + k] = placement[4 * k + row];
            inverse[4 * row + 3] -= placement[4 * k + row] * placement[4 * k + 3];
        }
    return inverse;
}

} // namespace openhost
