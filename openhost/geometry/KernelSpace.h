// Points and boxes of Open CASCADE.
#pragma once

#include "openhost/space/Box.h"

#include <Bnd_Box.hxx>
#include <gp_XYZ.hxx>

#include <optional>

namespace openhost {

inline Vector FromKernel(const gp_XYZ& xyz)
{
    return {xyz.X(), xyz.Y(), xyz.Z()};
}

/// Nothing for a box that holds no point. What the kernel has added as a margin is in it.
inline std::optional<Box> FromKernel(const Bnd_Box& bounds)
{
    if (bounds.IsVoid())
        return std::nullopt;
    return Box{FromKernel(bounds.CornerMin().XYZ()), FromKernel(bounds.CornerMax().XYZ())};
}

} // namespace openhost
