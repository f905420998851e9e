// The colours of a part's geometry.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace openhost {

/// Red, green and blue of sRGB, from 0 to 1.
using SurfaceColor = std::array<double, 3>;

struct FaceColor {
    std::uint32_t face = 0; ///< its position among the different faces of the shape, in the order of its content
    SurfaceColor color{};
    bool operator==(const FaceColor&) const = default;
};

struct PartColors {
    std::optional<SurfaceColor> whole; ///< of all faces that have none of their own
    std::vector<FaceColor> faces;      ///< in ascending order; a face that the shape does not have counts for nothing
    bool operator==(const PartColors&) const = default;

    bool IsEmpty() const { return !whole && faces.empty(); }
};

/// The colour of each of `faces` faces.
std::vector<std::optional<SurfaceColor>> ColorsOfFaces(const PartColors& colors, std::size_t faces);

/// The bytes of a stream. Throws DocumentStreamError for colours that DecodeColors refuses.
std::string EncodeColors(const PartColors& colors);
/// Throws DocumentStreamError for bytes that EncodeColors has not written.
PartColors DecodeColors(std::string_view stream);

/// A boundary representation with the colours of its faces before it, when it has any: what jobs of geometry take.
std::string ColoredBoundary(const PartColors& colors, std::string_view boundary);
/// Takes the colours that stand before a boundary representation off `bytes`. Throws DocumentStreamError.
PartColors TakeColors(std::string& bytes);

} // namespace openhost
