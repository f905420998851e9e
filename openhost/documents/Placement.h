// Rigid placements.
#pragma once

#include <array>

namespace openhost {

/// A placement: three rows of four numbers, a rotation and in the last column a shift in millimetres.
using Placement = std::array<double, 12>;

inline constexpr Placement IdentityPlacement{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

/// Whether the first three columns are a rotation, and all numbers are finite; a reflection is none.
bool IsRigid(const Placement& placement);
/// The placement of something that is placed by `inner` in a thing that is placed by `outer`.
Placement Within(const Placement& outer, const Placement& inner);
/// The placement that takes `placement`, which is rigid, back.
Placement Inverse(const Placement& placement);

} // namespace openhost
