#include "openhost/lvr/LvrMesh.h"

#include "openhost/files/AtomicFile.h"
#include "openhost/files/BoundedFile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace openhost {

namespace {

static_assert(std::endian::native == std::endian::little, "arrays are copied to and from the file as they stand");
static_assert(sizeof(LvrMesh::Vector) == 12 && sizeof(LvrMesh::Triangle) == 12 && sizeof(LvrMesh::Color) == 4);

/// How far the square of a normal's length may be from 1; what rounding to single precision leaves is far below.
constexpr float NormalTolerance = 1e-3F;

struct Header {
    std::array<char, 4> mark;
    std::uint32_t version;
    std::uint32_t unit;
    std::uint32_t vertices;
    std::uint32_t triangles;
    LvrMesh::Vector lowest; ///< corners of the box around the positions
    LvrMesh::Vector highest;
};
static_assert(sizeof(Header) == 44);

constexpr std::array<char, 4> Mark = {'Z', 'L', 'V', 'R'};
constexpr std::uint32_t Version = 1;
constexpr std::uint32_t VersionWithColors = 2;
constexpr std::uint32_t Millimetres = 1;

std::uint64_t SizeOf(std::uint64_t vertices, std::uint64_t triangles, bool hasColors)
{
    const std::uint64_t ofTriangle = sizeof(LvrMesh::Triangle) + (hasColors ? sizeof(LvrMesh::Color) : 0);
    return sizeof(Header) + 2 * sizeof(LvrMesh::Vector) * vertices + ofTriangle * triangles;
}

bool IsSet(const LvrMesh::Color& color)
{
    return color[3] != 0;
}

constexpr LvrMesh::Color NoColor{};

void CheckColors(const LvrMesh& mesh)
{
    if (mesh.colors.empty())
        return;
    if (mesh.colors.size() != mesh.triangles.size())
        throw LvrError("the representation has another number of colours than of triangles");
    for (const LvrMesh::Color& color : mesh.colors)
        if (color[3] != 255 && color != NoColor)
            throw LvrError("a colour of the representation is none");
    if (std::ranges::none_of(mesh.colors, IsSet))
        throw LvrError("the representation has colours, but no triangle has one");
}

template <class Element>
void Append(std::string& bytes, const std::vector<Element>& elements)
{
    bytes.append(reinterpret_cast<const char*>(elements.data()), elements.size() * sizeof(Element));
}

template <class Element>
std::vector<Element> Take(std::string_view& rest, std::size_t count)
{
    std::vector<Element> elements(count);
    if (count > 0)
        std::memcpy(elements.data(), rest.data(), count * sizeof(Element));
    rest.remove_prefix(count * sizeof(Element));
    return elements;
}

} // namespace

void CheckLvrMesh(const LvrMesh& mesh)
{
    if (mesh.triangles.empty())
        throw LvrError("the representation has no triangles");
    if (mesh.positions.size() > MaximumLvrVertices || mesh.triangles.size() > MaximumLvrTriangles)
        throw LvrError("the representation is too large");
    if (mesh.normals.size() != mesh.positions.size())
        throw LvrError("the representation has another number of normals than of positions");

    for (const LvrMesh::Vector& position : mesh.positions)
        for (const float coordinate : position)
            if (!(std::abs(coordinate) <= MaximumLvrCoordinate))
                throw LvrError("a position of the representation is out of range");
    for (const LvrMesh::Vector& normal : mesh.normals) {
        const float square = normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2];
        if (!(std::abs(square - 1) <= NormalTolerance))
            throw LvrError("a normal of the representation has not the length 1");
    }
    for (const LvrMesh::Triangle& triangle : mesh.triangles)
        for (const std::uint32_t corner : triangle)
            if (corner >= mesh.positions.size())
                throw LvrError("a triangle of the representation has a corner that is not there");
    CheckColors(mesh);
}

Box BoxOf(const LvrMesh& mesh)
{
    std::optional<Box> box;
    for (const LvrMesh::Vector& position : mesh.positions)
        Widen(box, ToVector(position));
    return *box;
}

void AddPlaced(LvrMesh& mesh, const LvrMesh& part, const Placement& placement)
{
    const std::size_t first = mesh.positions.size();
    if (first + part.positions.size() > MaximumLvrVertices ||
        mesh.triangles.size() + part.triangles.size() > MaximumLvrTriangles)
        throw LvrError("the representation is too large");
    if (!mesh.colors.empty() || !part.colors.empty()) {
        mesh.colors.resize(mesh.triangles.size());
        mesh.colors.insert(mesh.colors.end(), part.colors.begin(), part.colors.end());
        mesh.colors.resize(mesh.triangles.size() + part.triangles.size());
    }
    for (const LvrMesh::Vector& position : part.positions)
        mesh.positions.push_back(ToLvr(PlacePoint(placement, ToVector(position))));
    for (const LvrMesh::Vector& normal : part.normals)
        mesh.normals.push_back(ToLvr(PlaceDirection(placement, ToVector(normal))));
    for (LvrMesh::Triangle triangle : part.triangles) {
        for (std::uint32_t& corner : triangle)
            corner += static_cast<std::uint32_t>(first);
        mesh.triangles.push_back(triangle);
    }
}

std::string EncodeLvr(const LvrMesh& mesh)
{
    CheckLvrMesh(mesh);
    const Box box = BoxOf(mesh);
    const bool hasColors = !mesh.colors.empty();
    const Header header{Mark,
                        hasColors ? VersionWithColors : Version,
                        Millimetres,
                        static_cast<std::uint32_t>(mesh.positions.size()),
                        static_cast<std::uint32_t>(mesh.triangles.size()),
                        ToLvr(box.lowest),
                        ToLvr(box.highest)};
    std::string bytes;
    bytes.reserve(SizeOf(mesh.positions.size(), mesh.triangles.size(), hasColors));
    bytes.append(reinterpret_cast<const char*>(&header), sizeof(header));
    Append(bytes, mesh.positions);
    Append(bytes, mesh.normals);
    Append(bytes, mesh.triangles);
    Append(bytes, mesh.colors);
    return bytes;
}

LvrMesh ReadLvrBytes(std::string_view bytes)
{
    Header header;
    if (bytes.size() < sizeof(header))
        throw LvrError("the file is too short for a light representation");
    std::memcpy(&header, bytes.data(), sizeof(header));
    if (header.mark != Mark)
        throw LvrError("the file is not a light representation");
    const bool hasColors = header.version == VersionWithColors;
    if (header.version != Version && !hasColors)
        throw LvrError("the light representation has the unknown version " + std::to_string(header.version));
    if (header.unit != Millimetres)
        throw LvrError("the light representation has the unknown unit " + std::to_string(header.unit));
    if (bytes.size() != SizeOf(header.vertices, header.triangles, hasColors))
        throw LvrError("the light representation has not the size of its counts");

    bytes.remove_prefix(sizeof(header));
    LvrMesh mesh;
    mesh.positions = Take<LvrMesh::Vector>(bytes, header.vertices);
    mesh.normals = Take<LvrMesh::Vector>(bytes, header.vertices);
    mesh.triangles = Take<LvrMesh::Triangle>(bytes, header.triangles);
    if (hasColors)
        mesh.colors = Take<LvrMesh::Color>(bytes, header.triangles);
    CheckLvrMesh(mesh);
    if (BoxOf(mesh) != Box{ToVector(header.lowest), ToVector(header.highest)})
        throw LvrError("the bounding box of the light representation is not that of its positions");
    return mesh;
}

void WriteLvr(const std::filesystem::path& path, const LvrMesh& mesh)
{
    ReplaceFile(path, EncodeLvr(mesh));
}

LvrMesh ReadLvr(const std::filesystem::path& path)
{
    try {
        return ReadLvrBytes(ReadBounded(path, SizeOf(MaximumLvrVertices, MaximumLvrTriangles, true)));
    } catch (const std::runtime_error& problem) {
        throw LvrError(path.string() + ": " + problem.what());
    }
}

} // namespace openhost
