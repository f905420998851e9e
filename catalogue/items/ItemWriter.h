// Writes the catalogue to the disk, as the service serves it.
#pragma once

#include "catalogue/items/Item.h"
#include "catalogue/items/ItemMass.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace catalogue {

/// Fills `folder`, which is made when it is missing:
///
///   files/<id>.zip         documents and side files of an item
///   files/<name>.ZALPart   the document of an item that is delivered as it is
///   files/templates/<name> the templates
///   items/<id>.json        the download request that the page sends for the item
///   pictures/<id>.png      a picture of the item, 320 x 240
///   shapes/<id>.lvr        the light representation of an item
///   items.sqlite           all items with sizes, volumes, areas, centres of mass, boxes, materials, the paths under
///   which
///                          pictures are served, and their shapes as queries of the search
///
/// In the requests "${BASE}" stands for the address of the service and "${FILES}" for the
/// absolute path of the folder `files`, both without a separator at the end. Equal catalogues give equal bytes. Throws
/// std::runtime_error when a document is missing or cannot be drawn, or something cannot be written.
void WriteCatalogue(const Catalogue& catalogue, const std::filesystem::path& folder);

/// The same for the files of `item` of `catalogue` alone, which has `mass`. Returns its entry.
nlohmann::ordered_json WriteItem(const Catalogue& catalogue, const Item& item, const ItemMass& mass,
                                 const std::filesystem::path& folder);

} // namespace catalogue
