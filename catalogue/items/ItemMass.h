// Mass properties of items.
#pragma once

#include "catalogue/items/Item.h"

namespace catalogue {

/// Of an item with all its parts in their places. Millimetres.
struct ItemMass {
    double volume = 0; ///< of the solids
    double area = 0;
    openhost::Vector center{}; ///< of mass, all of one density; of the surface of an item without volume
    openhost::Box box;
};

/// Throws openhost::GeometryError, or std::runtime_error for a document that is missing.
ItemMass MeasureItem(const Catalogue& catalogue, const Item& item);

} // namespace catalogue
