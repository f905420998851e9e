#include "catalogue/items/Placements.h"

namespace catalogue {

openhost::Placement At(double x, double y, double z, const Axes& axes)
{
    return {axes.x[0], axes.y[0], axes.z[0], x, axes.x[1], axes.y[1], axes.z[1], y, axes.x[2], axes.y[2], axes.z[2], z};
}

openhost::Placement Within(const openhost::Placement& outer, const openhost::Placement& inner)
{
    openhost::Placement placement{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = column == 3 ? outer[4 * row + 3] : 0;
            for (std::size_t k = 0; k < 3; ++k)
                sum += outer[4 * row + k] * inner[4 * k + column];
            placement[4 * row + column] = sum;
        }
    return placement;
}

std::array<double, 3> Transformed(const openhost::Placement& placement, const std::array<double, 3>& point)
{
    const openhost::Placement placed = Within(placement, At(point[0], point[1], point[2]));
    return {placed[3], placed[7], placed[11]};
}

} // namespace catalogue
