// What the program of the solid kernel does.
#pragma once

#include "openhost/geometry_process/GeometryJob.h"

#include <functional>
#include <string>

namespace openhost {

/// The result of `job` on the boundary representation `boundary`; what it tells before goes to `tell`. Throws
/// GeometryError when there is none.
std::string RunGeometryJob(GeometryJob job, std::string boundary, const std::function<void(const std::string&)>& tell);

} // namespace openhost
