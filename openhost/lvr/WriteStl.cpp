#include "openhost/lvr/WriteStl.h"

#include "openhost/files/AtomicFile.h"

namespace openhost {

namespace {

constexpr std::size_t HeaderSize = 80;
constexpr std::size_t FacetSize = 50;
/// Readers take a file that begins with "solid" for one in words.
constexpr std::string_view Title = "Light representation, binary STL, millimetres";

/// Normal of the plane of a triangle, from its corners; 0 without one.
LvrMesh::Vector NormalOf(const LvrMesh::Vector& a, const LvrMesh::Vector& b, const LvrMesh::Vector& c)
{
    const Vector corner = ToVector(a);
    const Vector cross = Cross(Difference(ToVector(b), corner), Difference(ToVector(c), corner));
    const double length = Length(cross);
    if (length == 0)
        return {};
    return ToLvr({cross[0] / length, cross[1] / length, cross[2] / length});
}

void Append(std::string& bytes, const LvrMesh::Vector& vector)
{
    bytes.append(reinterpret_cast<const char*>(vector.data()), sizeof(vector));
}

} // namespace

void WriteStl(const std::filesystem::path& path, const LvrMesh& mesh)
{
    CheckLvrMesh(mesh);
    const auto count = static_cast<std::uint32_t>(mesh.triangles.size());
    std::string bytes(Title);
    bytes.resize(HeaderSize);
    bytes.reserve(HeaderSize + sizeof(count) + FacetSize * mesh.triangles.size());
    bytes.append(reinterpret_cast<const char*>(&count), sizeof(count));
    for (const auto& [a, b, c] : mesh.triangles) {
        Append(bytes, NormalOf(mesh.positions[a], mesh.positions[b], mesh.positions[c]));
        for (const std::uint32_t corner : {a, b, c})
            Append(bytes, mesh.positions[corner]);
        bytes.append(2, '\0');
    }
    ReplaceFile(path, bytes);
}

} // namespace openhost
