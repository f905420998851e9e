#include "catalogue/items/Placements.h"

namespace catalogue {

openhost::Placement At(double x, double y, double z, const Axes& axes)
{
    return {axes.x[0], axes.y[0], axes.z[0], x, axes.x[1], axes.y[1], axes.z[1], y, axes.x[2], axes.y[2], axes.z[2], z};
}

std::array<double, 3> Transformed(const openhost::Placement& placement, const std::array<double, 3>& point)
{
    const openhost::Placement placed = openhost::Within(placement, At(point[0], point[1], point[2]));
    return {placed[3], placed[7], placed[11]};
}

} // namespace catalogue
