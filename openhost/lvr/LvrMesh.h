// The light representation of a shape: triangles to look at and to compare, without the surfaces behind them.
// docs/light-representation.md describes the bytes.
#pragma once

#include "openhost/space/Box.h"
#include "openhost/space/Placement.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace openhost {

/// Says what is wrong with a light representation.
class LvrError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Triangles over shared vertices. Positions in millimetres. A triangle names its corners counterclockwise as seen
/// from outside.
struct LvrMesh {
    using Vector = std::array<float, 3>; ///< in single precision, as in the file
    using Triangle = std::array<std::uint32_t, 3>;
    /// Red, green and blue of sRGB and 255; all 0 for a triangle without a colour.
    using Color = std::array<std::uint8_t, 4>;

    std::vector<Vector> positions;
    std::vector<Vector> normals; ///< of the surface, outwards, of length 1; one for each position
    std::vector<Triangle> triangles;
    std::vector<Color> colors; ///< one for each triangle; empty when none has a colour
    bool operator==(const LvrMesh&) const = default;
};

inline Vector ToVector(const LvrMesh::Vector& vector)
{
    return {vector[0], vector[1], vector[2]};
}
inline LvrMesh::Vector ToLvr(const Vector& vector)
{
    return {static_cast<float>(vector[0]), static_cast<float>(vector[1]), static_cast<float>(vector[2])};
}

/// Most vertices and most triangles of a mesh.
inline constexpr std::uint32_t MaximumLvrVertices = 1 << 24;
inline constexpr std::uint32_t MaximumLvrTriangles = 1 << 24;
/// Largest amount of a coordinate, in millimetres: the third power of it can still be computed with.
inline constexpr float MaximumLvrCoordinate = 1e9F;

/// Throws LvrError for a mesh that is none: without triangles, too large, with corners or normals that are not there,
/// or numbers out of their range.
void CheckLvrMesh(const LvrMesh& mesh);
/// The box around the positions of `mesh`, which has one at least.
Box BoxOf(const LvrMesh& mesh);

/// Adds `part` to `mesh` with its positions moved by `placement`. Throws LvrError when the mesh would become too large,
/// and changes nothing.
void AddPlaced(LvrMesh& mesh, const LvrMesh& part, const Placement& placement);

/// The bytes of `mesh`. Throws LvrError for one that CheckLvrMesh refuses.
std::string EncodeLvr(const LvrMesh& mesh);
/// The mesh in `bytes`. Throws LvrError for bytes that hold none as EncodeLvr writes it, and takes no more memory
/// than `bytes` is long.
LvrMesh ReadLvrBytes(std::string_view bytes);

/// Writes `mesh` to the file `path`, which keeps its old content on failure. Throws LvrError, or std::system_error.
void WriteLvr(const std::filesystem::path& path, const LvrMesh& mesh);
/// Reads the file `path`. Throws LvrError, which names the file.
LvrMesh ReadLvr(const std::filesystem::path& path);

} // namespace openhost
