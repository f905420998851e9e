// The templates that the catalogue offers to rebuild its items on.
#pragma once

#include "catalogue/items/Item.h"

namespace catalogue {

/// File names of the templates, under which the page announces them.
inline constexpr const char* PartTemplateName = "PartTemplate.ZALPart";
inline constexpr const char* ProductTemplateName = "ProductTemplate.ZALProduct";

/// Adds a part without content that has an axis system, parameters and a camera, and a product with the same but the
/// axis system.
void AddTemplates(Catalogue& catalogue);

} // namespace catalogue
