// Items as triangles.
#pragma once

#include "catalogue/items/Item.h"
#include "openhost/geometry/Tessellation.h"

namespace catalogue {

/// The triangles of `item` with all its parts in their places. Throws openhost::GeometryError, or openhost::LvrError.
openhost::LvrMesh TessellateItem(const Catalogue& catalogue, const Item& item,
                                 const openhost::TessellationTolerance& tolerance = {});

} // namespace catalogue
