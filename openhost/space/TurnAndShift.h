// Rigid placements as people say them.
#pragma once

#include "openhost/space/Placement.h"

namespace openhost {

/// Whether `axis` is long enough to tell a direction.
bool HasDirection(const Vector& axis);

/// A turn about an axis through the origin, then a shift.
struct TurnAndShift {
    Vector at{};          ///< in millimetres
    Vector axis{0, 0, 1}; ///< of any length that has a direction
    double degrees = 0;

    /// That of `placement`, which is rigid, with an axis of length 1.
    static TurnAndShift Of(const Placement& placement);
    Placement ToPlacement() const;
};

} // namespace openhost
