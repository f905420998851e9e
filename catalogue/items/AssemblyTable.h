// The assemblies of the catalogue.
#pragma once

#include "catalogue/items/Item.h"

namespace catalogue {

/// Adds the assemblies to `catalogue`, which holds the parts.
void AddAssemblies(Catalogue& catalogue);

} // namespace catalogue
