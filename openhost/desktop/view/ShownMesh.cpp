#include "openhost/desktop/view/ShownMesh.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <unordered_map>

namespace openhost {

namespace {

/// Cosine of the smallest angle of a crease, 18 degrees: more than between neighbouring triangles of one surface, also
/// at the tip of a cone.
constexpr float CreaseCosine = 0.95F;

/// Grids along the diagonal of a mesh, finest first.
constexpr std::array Grids = {256, 128, 64, 32, 16, 8, 4, 2};
/// A coarser detail is kept when it has less than this part of the triangles of the finer one.
constexpr double WorthwhilePart = 0.7;

/// For each position the first one at the same place.
std::vector<std::uint32_t> WeldPositions(const std::vector<LvrMesh::Vector>& positions)
{
    std::vector<std::uint32_t> order(positions.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::stable_sort(order, {}, [&](std::uint32_t position) { return positions[position]; });
    std::vector<std::uint32_t> first(positions.size());
    for (std::size_t place = 0; place < order.size(); ++place) {
        const bool isSame = place > 0 && positions[order[place]] == positions[order[place - 1]];
        first[order[place]] = isSame ? first[order[place - 1]] : order[place];
    }
    return first;
}

float Cosine(const LvrMesh::Vector& a, const LvrMesh::Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Which of the six directions of the axes `normal` is closest to.
std::uint64_t SideOf(const LvrMesh::Vector& normal)
{
    std::size_t axis = 0;
    for (const std::size_t other : {1U, 2U})
        if (std::abs(normal[other]) > std::abs(normal[axis]))
            axis = other;
    return 2 * axis + (normal[axis] < 0 ? 1 : 0);
}

/// Starts with the smallest number, in the same order.
LvrMesh::Triangle Turned(LvrMesh::Triangle triangle)
{
    std::rotate(triangle.begin(), std::ranges::min_element(triangle), triangle.end());
    return triangle;
}

template <class Element>
void KeepOnce(std::vector<Element>& elements)
{
    std::ranges::sort(elements);
    elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
}

} // namespace

MeshEdges FindEdges(const LvrMesh& mesh)
{
    struct Side {
        MeshEdge place; ///< welded, smaller first
        MeshEdge ends;  ///< the positions of its triangle there
    };
    const std::vector<std::uint32_t> weld = WeldPositions(mesh.positions);
    std::vector<Side> sides;
    sides.reserve(3 * mesh.triangles.size());
    for (const LvrMesh::Triangle& triangle : mesh.triangles)
        for (std::size_t corner = 0; corner < 3; ++corner) {
            std::uint32_t from = triangle[corner];
            std::uint32_t to = triangle[(corner + 1) % 3];
            if (weld[from] == weld[to])
                continue;
            if (weld[from] > weld[to])
                std::swap(from, to);
            sides.push_back({{weld[from], weld[to]}, {from, to}});
        }
    std::ranges::stable_sort(sides, {}, &Side::place);

    MeshEdges found;
    for (std::size_t first = 0, end = 0; first < sides.size(); first = end) {
        bool isEdge = true;
        for (end = first + 1; end < sides.size() && sides[end].place == sides[first].place; ++end) {
            float cosine = 0;
            for (const std::size_t at : {0U, 1U})
                cosine += Cosine(mesh.normals[sides[first].ends[at]], mesh.normals[sides[end].ends[at]]) / 2;
            isEdge = cosine < CreaseCosine || (isEdge && end > first + 1);
        }
        if (isEdge)
            found.edges.push_back(sides[first].ends);
        found.hasBorders = found.hasBorders || end == first + 1;
    }
    return found;
}

namespace {

/// A position belongs to one face, and so has the colour of all of its triangles.
std::vector<LvrMesh::Color> ColorsOfPositions(const LvrMesh& mesh)
{
    std::vector<LvrMesh::Color> colors;
    if (mesh.colors.empty())
        return colors;
    colors.resize(mesh.positions.size());
    for (std::size_t triangle = 0; triangle < mesh.triangles.size(); ++triangle)
        for (const std::uint32_t corner : mesh.triangles[triangle])
            colors[corner] = mesh.colors[triangle];
    return colors;
}

} // namespace

MeshDetail Coarsen(const MeshDetail& detail, double cell)
{
    const LvrMesh& mesh = detail.mesh;
    const Vector origin = BoxOf(mesh).lowest;
    MeshDetail coarse;
    coarse.error = cell / 2; // positions lie around the middle of what they stand for

    std::unordered_map<std::uint64_t, std::uint32_t> numbers;
    std::vector<std::uint32_t> numberOf(mesh.positions.size());
    std::vector<Vector> places;
    std::vector<Vector> normals;
    std::vector<double> counts;
    for (std::size_t position = 0; position < mesh.positions.size(); ++position) {
        const Vector offset = Difference(ToVector(mesh.positions[position]), origin);
        std::uint64_t key = SideOf(mesh.normals[position]);
        for (const double coordinate : offset)
            key = key << 20 | static_cast<std::uint64_t>(std::clamp(coordinate / cell, 0.0, 1048575.0));
        const auto [found, isNew] = numbers.try_emplace(key, static_cast<std::uint32_t>(places.size()));
        numberOf[position] = found->second;
        if (isNew && !detail.colors.empty())
            coarse.colors.push_back(detail.colors[position]);
        if (isNew) {
            places.emplace_back();
            normals.emplace_back();
            counts.emplace_back();
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            places[found->second][axis] += offset[axis];
            normals[found->second][axis] += static_cast<double>(mesh.normals[position][axis]);
        }
        ++counts[found->second];
    }
    for (std::size_t number = 0; number < places.size(); ++number) {
        // Never zero: all normals of one side have more than half of their length in one direction.
        const double length = Length(normals[number]);
        LvrMesh::Vector place;
        LvrMesh::Vector normal;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            place[axis] = static_cast<float>(origin[axis] + places[number][axis] / counts[number]);
            normal[axis] = static_cast<float>(normals[number][axis] / length);
        }
        coarse.mesh.positions.push_back(place);
        coarse.mesh.normals.push_back(normal);
    }

    for (LvrMesh::Triangle triangle : mesh.triangles) {
        for (std::uint32_t& corner : triangle)
            corner = numberOf[corner];
        if (triangle[0] != triangle[1] && triangle[1] != triangle[2] && triangle[2] != triangle[0])
            coarse.mesh.triangles.push_back(Turned(triangle));
    }
    KeepOnce(coarse.mesh.triangles);
    for (const MeshEdge& edge : detail.edges) {
        const auto [from, to] = std::minmax(numberOf[edge[0]], numberOf[edge[1]]);
        if (from != to)
            coarse.edges.push_back({from, to});
    }
    KeepOnce(coarse.edges);
    return coarse;
}

ShownMesh PrepareMesh(LvrMesh mesh)
{
    ShownMesh shown;
    shown.box = BoxOf(mesh);
    MeshDetail finest;
    MeshEdges found = FindEdges(mesh);
    finest.edges = std::move(found.edges);
    shown.isClosed = !found.hasBorders;
    finest.colors = ColorsOfPositions(mesh);
    finest.mesh = std::move(mesh);
    finest.mesh.colors.clear();
    shown.details.push_back(std::move(finest));

    const double diagonal = shown.box.Diagonal();
    for (const int grid : Grids) {
        if (diagonal == 0)
            break;
        const MeshDetail& finer = shown.details.back();
        MeshDetail coarse = Coarsen(finer, diagonal / grid);
        const auto triangles = static_cast<double>(coarse.mesh.triangles.size());
        if (triangles > 0 && triangles < WorthwhilePart * static_cast<double>(finer.mesh.triangles.size()))
            shown.details.push_back(std::move(coarse));
    }
    return shown;
}

} // namespace openhost
