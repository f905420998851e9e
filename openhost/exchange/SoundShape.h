// Shapes from outside as the geometry of documents.
#pragma once

#include "openhost/documents/CadDocument.h"
#include "openhost/exchange/StepProducts.h"

#include <functional>
#include <optional>
#include <string>

namespace openhost {

/// The geometry of a part with `shape`, whose faces have `colors`: solids, sheets and curves, repaired where the kernel
/// finds a fault in it. One that stays faulty is kept as it is, since it can be seen and mended; one that no document
/// can hold is left out, as is an empty one. `warn` gets a line about each of these. The volume is that of the solids
/// alone.
std::optional<DocumentGeometry> EncodeSoundShape(const TopoDS_Shape& shape, const ColoredFaces& colors,
                                                 const std::function<void(const std::string&)>& warn);

} // namespace openhost
