// Text parameters that an imported document has for what STEP says of a product beyond its properties.
#pragma once

namespace openhost {

/// The layers of its shape.
inline constexpr const char* LayerParameter = "Layer";
/// The number of the product, where it is not the part number: that is unique and names the file.
inline constexpr const char* StepIdParameter = "STEP id";
/// Its name, where it is not the part number. Written again when the document becomes STEP.
inline constexpr const char* StepNameParameter = "STEP name";

} // namespace openhost
