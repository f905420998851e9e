// The shape that an upload carries.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace catalogue {

/// Largest archive that is taken.
inline constexpr std::size_t MaximumUploadSize = 10 << 20;
/// Largest light representation in it, unpacked.
inline constexpr std::size_t MaximumUploadedShapeSize = 64 << 20;

/// Says why an upload is refused.
class UploadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The mesh of the one entry "*.lvr" that the zip archive `archive` holds. Throws UploadError for an archive that is
/// none, is damaged, or holds anything else, and openhost::LvrError for an entry that is not a light representation.
openhost::LvrMesh ReadUploadedShape(std::string_view archive);

} // namespace catalogue
