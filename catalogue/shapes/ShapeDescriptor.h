// What a shape is like, in numbers that do not change when it is turned or moved. docs/shape-search.md says why these.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace catalogue {

/// Says why something has no descriptor.
class ShapeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Describes the surface of a shape by pairs of points on it. All but `size` is the same for a shape and its enlarged
/// or mirrored copy.
struct ShapeDescriptor {
    static constexpr std::size_t DistanceBins = 5;
    static constexpr std::size_t TurnBins = 9;
    static constexpr std::size_t FaceBins = 9;

    /// By the distance of the points of a pair, in parts of `size`; at each distance by the cosine of the angle between
    /// the two normals; and at each angle by how far the normals point away from each other along the line between the
    /// points. The third root of the part of all pairs that falls there, in 255ths.
    std::array<std::uint8_t, DistanceBins * TurnBins * FaceBins> pairs{};
    float size = 0; ///< mean distance of two points of the surface, in millimetres
    bool operator==(const ShapeDescriptor&) const = default;
};

/// Range of `size`. What is smaller or larger has no descriptor.
inline constexpr double MinimumShapeSize = 1e-6;
inline constexpr double MaximumShapeSize = 1e10;

/// Points of a surface whose pairs describe a shape. Enough for the noise of two tessellations to be well below the
/// difference of two sizes of a part; docs/shape-search.md has the figures.
inline constexpr std::size_t ShapePoints = 2048;

/// The descriptor of `mesh`, nearly the same for any sufficiently fine tessellation of a shape, whatever the order of
/// its triangles. Equal meshes give equal descriptors. `points`, at least 2, must be the same for shapes that are
/// compared; the time grows with its square. Throws ShapeError for a surface without area or without extent.
ShapeDescriptor DescribeShape(const openhost::LvrMesh& mesh, std::size_t points = ShapePoints);

/// How unlike two shapes are: 0 for equal descriptors, symmetric. Proportions count for more than size: two sizes of
/// one thing are closer than two things of one size.
double ShapeDistance(const ShapeDescriptor& one, const ShapeDescriptor& other);

} // namespace catalogue
