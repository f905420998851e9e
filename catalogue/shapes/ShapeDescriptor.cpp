#include "catalogue/shapes/ShapeDescriptor.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <tuple>
#include <vector>

namespace catalogue {

namespace {

using openhost::Cross;
using openhost::Difference;
using openhost::Dot;
using openhost::ToVector;
using openhost::Vector;

/// Enough for the noise of two tessellations to be well below the difference of two sizes of a part;
/// docs/shape-search.md has the figures.
constexpr std::size_t Samples = 2048;
/// Distances are counted up to this part of the mean distance; what is farther falls into the last bin.
constexpr double MaximumDistance = 2.5;

/// Faster than openhost::Length, for each of millions of pairs; coordinates of light representations are bounded.
double Length(const Vector& a)
{
    return std::sqrt(Dot(a, a));
}

/// A point of the surface with its normal.
struct Sample {
    Vector position;
    Vector normal;
};

struct Surface {
    double area = 0;
    double volume = 0;
    std::vector<Sample> samples; ///< spread evenly over the area
};

Sample SampleAt(const openhost::LvrMesh& mesh, const openhost::LvrMesh::Triangle& triangle, double u, double v)
{
    if (u + v > 1) {
        u = 1 - u;
        v = 1 - v;
    }
    const std::array<double, 3> weights{1 - u - v, u, v};
    Sample sample{};
    for (std::size_t corner = 0; corner < 3; ++corner)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            sample.position[axis] += weights[corner] * mesh.positions[triangle[corner]][axis];
            sample.normal[axis] += weights[corner] * mesh.normals[triangle[corner]][axis];
        }
    const double length = Length(sample.normal);
    for (double& coordinate : sample.normal)
        coordinate = length > 0 ? coordinate / length : 0;
    return sample;
}

/// One sample for each of `Samples` equal parts of the area, in the order of the triangles; where it lies in its
/// triangle follows a sequence that leaves no gaps and no clusters (the additive recurrence over the plastic number).
Surface MeasureSurface(const openhost::LvrMesh& mesh)
{
    constexpr double plastic = 1.32471795724474602596;
    Surface surface;
    std::vector<double> areas;
    areas.reserve(mesh.triangles.size());
    // From a corner of the mesh, so that the volume of a small shape far away loses no digits.
    const Vector origin = ToVector(mesh.positions[mesh.triangles.front()[0]]);
    for (const auto& [a, b, c] : mesh.triangles) {
        const Vector first = Difference(ToVector(mesh.positions[a]), origin);
        const Vector second = Difference(ToVector(mesh.positions[b]), origin);
        const Vector third = Difference(ToVector(mesh.positions[c]), origin);
        surface.volume += Dot(first, Cross(second, third)) / 6;
        areas.push_back(Length(Cross(Difference(second, first), Difference(third, first))) / 2);
        surface.area += areas.back();
    }
    if (!(surface.area > 0))
        throw ShapeError("the shape has no area");

    double passed = 0;
    std::size_t triangle = 0;
    for (std::size_t index = 0; index < Samples; ++index) {
        const double wanted = (static_cast<double>(index) + 0.5) / Samples * surface.area;
        while (triangle + 1 < areas.size() && passed + areas[triangle] < wanted)
            passed += areas[triangle++];
        double whole = 0;
        surface.samples.push_back(SampleAt(mesh, mesh.triangles[triangle],
                                           std::modf(static_cast<double>(index + 1) / plastic, &whole),
                                           std::modf(static_cast<double>(index + 1) / plastic / plastic, &whole)));
    }
    return surface;
}

/// The square roots of the principal moments of the samples, the largest first.
Vector PrincipalExtents(const std::vector<Sample>& samples)
{
    Vector centre{};
    for (const Sample& sample : samples)
        for (std::size_t axis = 0; axis < 3; ++axis)
            centre[axis] += sample.position[axis] / Samples;
    std::array<Vector, 3> moments{};
    for (const Sample& sample : samples) {
        const Vector arm = Difference(sample.position, centre);
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column)
                moments[row][column] += arm[row] * arm[column] / Samples;
    }

    // The eigenvalues of a symmetric matrix are the roots of a cubic, which has three real ones.
    const double mean = (moments[0][0] + moments[1][1] + moments[2][2]) / 3;
    std::array<Vector, 3> deviation = moments;
    double square = 0;
    for (std::size_t row = 0; row < 3; ++row) {
        deviation[row][row] -= mean;
        square += Dot(deviation[row], deviation[row]);
    }
    const double radius = std::sqrt(square / 6);
    double angle = 0;
    if (radius > 0) {
        const double determinant = Dot(deviation[0], Cross(deviation[1], deviation[2]));
        angle = std::acos(std::clamp(determinant / (2 * radius * radius * radius), -1.0, 1.0)) / 3;
    }
    Vector extents{};
    for (std::size_t index = 0; index < 3; ++index) {
        const double turn = angle - 2 * std::numbers::pi / 3 * static_cast<double>(index);
        extents[index] = std::sqrt(std::max(0.0, mean + 2 * radius * std::cos(turn)));
    }
    std::ranges::sort(extents, std::greater());
    return extents;
}

double MeanDistance(const std::vector<Sample>& samples)
{
    double sum = 0;
    for (std::size_t one = 0; one < samples.size(); ++one)
        for (std::size_t other = one + 1; other < samples.size(); ++other)
            sum += Length(Difference(samples[other].position, samples[one].position));
    return 2 * sum / (Samples * (Samples - 1.0));
}

using PairCounts = std::array<double, std::tuple_size_v<ShapeDescriptor::Histogram>>;

/// Adds `weight` to `histogram` at (`distance`, `turn`), positions in bins counted from the middle of the first,
/// shared out over the bins around it, so that a small change of a pair changes the histogram a little.
void Count(PairCounts& histogram, double distance, double turn, double weight)
{
    constexpr auto rows = ShapeDescriptor::DistanceBins;
    constexpr auto columns = ShapeDescriptor::NormalBins;
    const double d = std::clamp(distance, 0.0, rows - 1.0);
    const double t = std::clamp(turn, 0.0, columns - 1.0);
    const std::size_t row = std::min(static_cast<std::size_t>(d), rows - 2);
    const std::size_t column = std::min(static_cast<std::size_t>(t), columns - 2);
    const double down = d - static_cast<double>(row);
    const double right = t - static_cast<double>(column);
    double* cell = &histogram[row * columns + column];
    cell[0] += weight * (1 - down) * (1 - right);
    cell[1] += weight * (1 - down) * right;
    cell[columns] += weight * down * (1 - right);
    cell[columns + 1] += weight * down * right;
}

/// The distance of the roots of the parts, not of the parts, so that the few pairs that teeth and grooves make are not
/// lost beside the many of the large faces.
float Hellinger(const ShapeDescriptor::Histogram& one, const ShapeDescriptor::Histogram& other)
{
    // Several sums that do not wait for each other.
    std::array<float, 8> sums{};
    static_assert(std::tuple_size_v<ShapeDescriptor::Histogram> % sums.size() == 0);
    for (std::size_t bin = 0; bin < one.size(); bin += sums.size())
        for (std::size_t lane = 0; lane < sums.size(); ++lane) {
            const float difference = one[bin + lane] - other[bin + lane];
            sums[lane] += difference * difference;
        }
    return std::sqrt(std::accumulate(sums.begin(), sums.end(), 0.0F));
}

} // namespace

ShapeDescriptor DescribeShape(const openhost::LvrMesh& mesh)
{
    const Surface surface = MeasureSurface(mesh);
    const std::vector<Sample>& samples = surface.samples;
    const double size = MeanDistance(samples);
    if (!(size >= MinimumShapeSize && size <= MaximumShapeSize))
        throw ShapeError("the shape is too small or too large to be compared");

    PairCounts turning{};
    PairCounts facing{};
    constexpr double weight = 2 / (Samples * (Samples - 1.0));
    constexpr double half = (ShapeDescriptor::NormalBins - 1) / 2.0;
    for (std::size_t one = 0; one < samples.size(); ++one)
        for (std::size_t other = one + 1; other < samples.size(); ++other) {
            const Vector way = Difference(samples[other].position, samples[one].position);
            const double length = Length(way);
            const double cosine = Dot(samples[one].normal, samples[other].normal);
            const double away =
                length > 0 ? (Dot(samples[other].normal, way) - Dot(samples[one].normal, way)) / (2 * length) : 0;
            const double distance = length / size / MaximumDistance * (ShapeDescriptor::DistanceBins - 1);
            Count(turning, distance, half * (1 + cosine), weight);
            Count(facing, distance, half * (1 + away), weight);
        }

    ShapeDescriptor descriptor;
    const auto root = [](double part) { return static_cast<float>(std::sqrt(part)); };
    std::ranges::transform(turning, descriptor.turning.begin(), root);
    std::ranges::transform(facing, descriptor.facing.begin(), root);
    const Vector extents = PrincipalExtents(samples);
    const double ball = std::sqrt(surface.area / std::numbers::pi) * surface.area / 6;
    descriptor.size = static_cast<float>(size);
    descriptor.fullness = static_cast<float>(std::min(1.0, std::cbrt(std::abs(surface.volume) / ball)));
    descriptor.breadth = static_cast<float>(extents[1] / extents[0]);
    descriptor.height = static_cast<float>(extents[2] / extents[0]);
    return descriptor;
}

double ShapeDistance(const ShapeDescriptor& one, const ShapeDescriptor& other)
{
    constexpr double heightWeight = 0.4;
    constexpr double sizeWeight = 0.2;
    const double scale = std::abs(std::log(one.size / other.size));
    return Hellinger(one.turning, other.turning) + Hellinger(one.facing, other.facing) +
           std::abs(one.fullness - other.fullness) + std::abs(one.breadth - other.breadth) +
           heightWeight * std::abs(one.height - other.height) + sizeWeight * scale / (1 + scale);
}

} // namespace catalogue
