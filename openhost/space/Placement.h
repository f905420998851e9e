// Rigid placements: where a thing stands in another one.
#pragma once

#include "openhost/space/Vector.h"

namespace openhost {

/// Three rows of four numbers: a rotation R and, in the last column, a shift t in millimetres. A point p of the thing
/// that is placed lies at R p + t in what it stands in; the columns of R are the directions of its axes there.
using Placement = std::array<double, 12>;

inline constexpr Placement IdentityPlacement{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

/// Whether the first three columns are a rotation, and all numbers are finite; a reflection is none.
bool IsRigid(const Placement& placement);
/// The placement of something that is placed by `inner` in a thing that is placed by `outer`: outer times inner, so
/// that PlacePoint(Within(outer, inner), p) is PlacePoint(outer, PlacePoint(inner, p)).
Placement Within(const Placement& outer, const Placement& inner);
/// The placement that takes `placement`, which is rigid, back.
Placement Inverse(const Placement& placement);

/// Where the origin of a thing placed by `placement` lies.
inline Vector ShiftOf(const Placement& placement)
{
    return {placement[3], placement[7], placement[11]};
}

/// `direction` of a thing placed by `placement`: turned, but not shifted.
inline Vector PlaceDirection(const Placement& placement, const Vector& direction)
{
    const auto& [x, y, z] = direction;
    return {placement[0] * x + placement[1] * y + placement[2] * z,
            placement[4] * x + placement[5] * y + placement[6] * z,
            placement[8] * x + placement[9] * y + placement[10] * z};
}

/// Where `point` of a thing placed by `placement` lies.
inline Vector PlacePoint(const Placement& placement, const Vector& point)
{
    const auto [x, y, z] = PlaceDirection(placement, point);
    return {x + placement[3], y + placement[7], z + placement[11]};
}

} // namespace openhost
