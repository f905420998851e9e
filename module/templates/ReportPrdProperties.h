// What a document says about itself, carried over to the one that takes its place.
#pragma once

#include "host/cad.h"

#include <utility>

/// Names and values of properties.
using PropertyList = std::vector<std::pair<ZALUnicodeString, ZALUnicodeString>>;

/// Gives `templateProduct` the text properties of `sourceProduct`, then `properties` and the text parameters of the
/// source as parameters of its own, unless it has one of that name. E_INVALIDARG, and nothing written, when one of the
/// products has no properties; otherwise the result of the last text property.
HRESULT ReportPrdProperties(const ZALIProduct_var& sourceProduct, const ZALIProduct_var& templateProduct,
                            const PropertyList& properties);
