#include "catalogue/shapes/ShapeDescriptor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>
#include <vector>

namespace catalogue {

namespace {

using openhost::Cross;
using openhost::Difference;
using openhost::Dot;
using openhost::ToVector;
using openhost::Vector;

/// Distances are counted up to this part of the mean distance; what is farther falls into the last bin.
constexpr double MaximumDistance = 2.5;

/// What the differences of all pairs of two shapes that have little in common add up to.
constexpr double UnlikePairs = 2900;
/// What no difference in size counts for more than.
constexpr double SizeWeight = 0.12;

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

/// Samples spread evenly over the area: one for each of `count` equal parts of it, in the order of the triangles;
/// where it lies in its triangle follows a sequence that leaves no gaps and no clusters (the additive recurrence over
/// the plastic number).
std::vector<Sample> SampleSurface(const openhost::LvrMesh& mesh, std::size_t count)
{
    constexpr double plastic = 1.32471795724474602596;
    double area = 0;
    std::vector<double> areas;
    areas.reserve(mesh.triangles.size());
    for (const auto& [a, b, c] : mesh.triangles) {
        const Vector corner = ToVector(mesh.positions[a]);
        const Vector normal =
            Cross(Difference(ToVector(mesh.positions[b]), corner), Difference(ToVector(mesh.positions[c]), corner));
        areas.push_back(Length(normal) / 2);
        area += areas.back();
    }
    if (!(area > 0))
        throw ShapeError("the shape has no area");

    std::vector<Sample> samples;
    samples.reserve(count);
    double passed = 0;
    std::size_t triangle = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const double wanted = (static_cast<double>(index) + 0.5) / static_cast<double>(count) * area;
        while (triangle + 1 < areas.size() && passed + areas[triangle] < wanted)
            passed += areas[triangle++];
        double whole = 0;
        samples.push_back(SampleAt(mesh, mesh.triangles[triangle],
                                   std::modf(static_cast<double>(index + 1) / plastic, &whole),
                                   std::modf(static_cast<double>(index + 1) / plastic / plastic, &whole)));
    }
    return samples;
}

double PairsOf(const std::vector<Sample>& samples)
{
    const auto count = static_cast<double>(samples.size());
    return count * (count - 1) / 2;
}

double MeanDistance(const std::vector<Sample>& samples)
{
    double sum = 0;
    for (std::size_t one = 0; one < samples.size(); ++one)
        for (std::size_t other = one + 1; other < samples.size(); ++other)
            sum += Length(Difference(samples[other].position, samples[one].position));
    return sum / PairsOf(samples);
}

/// Where a number between two bins falls: the lower one, and the part that belongs to the upper one.
struct Place {
    std::size_t bin;
    double beyond;
};

/// The place of `position`, counted in bins from the middle of the first of `bins`.
Place PlaceOf(double position, std::size_t bins)
{
    const double inside = std::clamp(position, 0.0, static_cast<double>(bins - 1));
    const std::size_t bin = std::min(static_cast<std::size_t>(inside), bins - 2);
    return {bin, inside - static_cast<double>(bin)};
}

using PairCounts = std::array<double, std::tuple_size_v<decltype(ShapeDescriptor::pairs)>>;

/// Adds 1 to `counts`, shared out over the eight bins around the three places, so that a small change of a pair changes
/// the counts a little.
void Count(PairCounts& counts, const Place& distance, const Place& turn, const Place& face)
{
    constexpr std::size_t row = ShapeDescriptor::FaceBins;
    constexpr std::size_t layer = row * ShapeDescriptor::TurnBins;
    double* cell = &counts[distance.bin * layer + turn.bin * row + face.bin];
    for (const double near : {1 - distance.beyond, distance.beyond}) {
        const double first = near * (1 - turn.beyond);
        const double second = near * turn.beyond;
        cell[0] += first * (1 - face.beyond);
        cell[1] += first * face.beyond;
        cell[row] += second * (1 - face.beyond);
        cell[row + 1] += second * face.beyond;
        cell += layer;
    }
}

} // namespace

ShapeDescriptor DescribeShape(const openhost::LvrMesh& mesh, std::size_t points)
{
    const std::vector<Sample> samples = SampleSurface(mesh, points);
    const double size = MeanDistance(samples);
    if (!(size >= MinimumShapeSize && size <= MaximumShapeSize))
        throw ShapeError("the shape is too small or too large to be compared");

    PairCounts counts{};
    for (std::size_t one = 0; one < samples.size(); ++one)
        for (std::size_t other = one + 1; other < samples.size(); ++other) {
            const Vector way = Difference(samples[other].position, samples[one].position);
            const double length = Length(way);
            const double cosine = Dot(samples[one].normal, samples[other].normal);
            const double away =
                length > 0 ? (Dot(samples[other].normal, way) - Dot(samples[one].normal, way)) / (2 * length) : 0;
            const auto place = [](double part, std::size_t bins) {
                return PlaceOf(part * static_cast<double>(bins - 1), bins);
            };
            Count(counts, place(length / size / MaximumDistance, ShapeDescriptor::DistanceBins),
                  place((1 + cosine) / 2, ShapeDescriptor::TurnBins), place((1 + away) / 2, ShapeDescriptor::FaceBins));
        }

    ShapeDescriptor descriptor;
    const double all = PairsOf(samples);
    std::ranges::transform(counts, descriptor.pairs.begin(), [all](double count) {
        return static_cast<std::uint8_t>(std::lround(255 * std::cbrt(std::min(1.0, count / all))));
    });
    descriptor.size = static_cast<float>(size);
    return descriptor;
}

double ShapeDistance(const ShapeDescriptor& one, const ShapeDescriptor& other)
{
    // The roots of the parts, not the parts, so that the few pairs that teeth and grooves make are not lost beside the
    // many of the large faces.
    int difference = 0;
    for (std::size_t pair = 0; pair < one.pairs.size(); ++pair)
        difference += std::abs(one.pairs[pair] - other.pairs[pair]);
    const double scale = std::abs(std::log(one.size / other.size));
    return difference / UnlikePairs + SizeWeight * scale / (1 + scale);
}

} // namespace catalogue
