// What the program of the solid kernel does.
#pragma once

#include "openhost/geometry_process/GeometryJob.h"

#include <string>

namespace openhost {

/// The result of `job` on the boundary representation `boundary`. Throws GeometryError when there is none.
std::string RunGeometryJob(GeometryJob job, std::string boundary);

} // namespace openhost
