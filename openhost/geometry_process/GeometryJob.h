// What the programs of the solid kernel do for a host.
#pragma once

namespace openhost {

enum class GeometryJob : char {
    // openhost-geometry: each takes the boundary representation of a shape, as documents hold it; the last two take its
    // colours before it.
    Copy = 'c',       ///< tells that of a copy, which shares nothing with its source, then does as Check does
    Check = 'k',      ///< gives nothing; the shape must be valid and hold a solid
    Measure = 'm',    ///< gives the facts of the shape
    Tessellate = 't', ///< gives the shape as a light representation
    View = 'v',       ///< gives it so as well, as far as a view needs it

    // openhost-conversion, and openhost-picture for Draw: each takes a ConversionRequest, writes what it makes and
    // gives warnings, a line each.
    Export = 'x', ///< writes STEP
    Draw = 'd',   ///< writes a picture
    Import = 'i', ///< reads STEP and writes documents; tells percents, and the name of the root before the warnings

    Other = 'o', ///< what another program does, which has one kind of job
};

} // namespace openhost
