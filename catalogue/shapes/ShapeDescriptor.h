// What a shape is like, in numbers that do not change when it is turned or moved. docs/shape-search.md says why these.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <array>
#include <cstddef>
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
/// copy.
struct ShapeDescriptor {
    static constexpr std::size_t DistanceBins = 12;
    static constexpr std::size_t NormalBins = 8;
    /// By the distance of the points of a pair, in parts of `size`, and at each distance by an angle: the square root
    /// of the part of all pairs that falls there.
    using Histogram = std::array<float, DistanceBins * NormalBins>;

    Histogram turning{}; ///< by the cosine of the angle between the two normals
    Histogram facing{};  ///< by how far the two normals point away from each other along the line between the points
    float size = 0;      ///< mean distance of two points of the surface, in millimetres
    float fullness = 0;  ///< third root of the volume beside that of the ball with the same area; 1 for a ball
    float breadth = 0;   ///< second principal extent of the surface, as a part of the first
    float height = 0;    ///< third principal extent, as a part of the first
    bool operator==(const ShapeDescriptor&) const = default;
};

/// Range of `size`. What is smaller or larger has no descriptor.
inline constexpr double MinimumShapeSize = 1e-6;
inline constexpr double MaximumShapeSize = 1e10;

/// The descriptor of `mesh`, nearly the same for any sufficiently fine tessellation of a shape, whatever the order of
/// its triangles. Equal meshes give equal descriptors. Throws ShapeError for a surface without area
/// or without extent.
ShapeDescriptor DescribeShape(const openhost::LvrMesh& mesh);

/// How unlike two shapes are: 0 for equal descriptors, symmetric. Proportions count for more than size: two sizes of
/// one thing are closer than two things of one size.
double ShapeDistance(const ShapeDescriptor& one, const ShapeDescriptor& other);

} // namespace catalogue
