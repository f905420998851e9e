#include "openhost/space/Box.h"

#include <algorithm>

namespace openhost {

std::array<Vector, 8> Box::Corners() const
{
    std::array<Vector, 8> corners{};
    for (std::size_t corner = 0; corner < corners.size(); ++corner)
        for (std::size_t axis = 0; axis < 3; ++axis)
            corners[corner][axis] = (corner >> axis & 1) != 0 ? highest[axis] : lowest[axis];
    return corners;
}

void Widen(std::optional<Box>& box, const Vector& point)
{
    if (!box)
        box = Box{point, point};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        box->lowest[axis] = std::min(box->lowest[axis], point[axis]);
        box->highest[axis] = std::max(box->highest[axis], point[axis]);
    }
}

} // namespace openhost
