#include "catalogue/items/Placements.h"

namespace catalogue {

openhost::Placement At(double x, double y, double z, const Axes& axes)
{
    return {axes.x[0], axes.y[0], axes.z[0], x, axes.x[1], axes.y[1], axes.z[1], y, axes.x[2], axes.y[2], axes.z[2], z};
}

} // namespace catalogue
