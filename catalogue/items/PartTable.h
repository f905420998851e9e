// The parts of the catalogue.
#pragma once

#include "catalogue/items/Item.h"

namespace catalogue {

/// Builds each part of the table of dimensions and adds it to `catalogue`. Throws std::runtime_error for a part
/// whose shape is not valid or whose volume is not the one of its dimensions.
void AddParts(Catalogue& catalogue);

/// How far the volume of a shape may be from the one of its dimensions, as a part of it.
inline constexpr double VolumeTolerance = 1e-4;

} // namespace catalogue
