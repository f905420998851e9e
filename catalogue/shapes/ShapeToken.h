// A shape descriptor as a short text, so that a search needs no memory of the upload before it.
#pragma once

#include "catalogue/shapes/ShapeDescriptor.h"

#include <string>
#include <string_view>

namespace catalogue {

/// `descriptor` as letters, digits, '-' and '_' alone: it stands in an address or a script as it is.
std::string EncodeShapeToken(const ShapeDescriptor& descriptor);
/// The descriptor in `token`. Throws ShapeError for a text that holds none.
ShapeDescriptor DecodeShapeToken(std::string_view token);

} // namespace catalogue
