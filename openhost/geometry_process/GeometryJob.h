// What the program of the solid kernel does for a host.
#pragma once

namespace openhost {

/// Each takes the boundary representation of a shape, as documents hold it.
enum class GeometryJob : char {
    Copy = 'c',       ///< gives that of a copy, which shares nothing with its source
    Measure = 'm',    ///< gives the facts of the shape, which must be valid and hold a solid
    Tessellate = 't', ///< gives the shape as a light representation
};

} // namespace openhost
