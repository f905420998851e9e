// The facts of geometry, for who shows them.
#pragma once

#include "openhost/documents/CadDocument.h"

namespace openhost {

/// Has the shape in `geometry` measured, in a process of its own. Throws GeometryJobError.
GeometryFacts MeasureSolids(const DocumentGeometry& geometry);

} // namespace openhost
