#include "openhost/cad/MeasureSolids.h"

#include "openhost/geometry_process/GeometryProcess.h"

#include <cstring>

namespace openhost {

GeometryFacts MeasureSolids(const DocumentGeometry& geometry)
{
    GeometryProcess process;
    const std::string bytes = process.Run(GeometryJob::Measure, geometry.boundary);
    GeometryFacts facts;
    if (bytes.size() != sizeof(facts))
        throw GeometryJobError("the facts of the shape are not whole");
    std::memcpy(&facts, bytes.data(), sizeof(facts));
    return facts;
}

} // namespace openhost
