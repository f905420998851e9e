#include "benchmarks/peers/ShapeDistribution.h"

#include "benchmarks/peers/SurfacePoints.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace benchmarks {

namespace {

// The constants of the article.
constexpr std::size_t Pairs = 1024 * 1024;
constexpr std::size_t Bins = 1024;
/// Distances, in parts of the mean one, that the bins cover: a thin rod has none above. The few beyond are in the last.
constexpr double Range = 3;

} // namespace

ShapeDistribution DescribeDistances(const openhost::LvrMesh& mesh)
{
    SurfacePoints points(mesh);
    std::vector<double> distances(Pairs);
    double sum = 0;
    for (double& distance : distances) {
        const openhost::Vector way = openhost::Difference(points.Next(), points.Next());
        distance = std::sqrt(openhost::Dot(way, way));
        sum += distance;
    }
    const double mean = sum / Pairs;

    std::array<double, Bins> counts{};
    for (const double distance : distances)
        ++counts[std::min(Bins - 1, static_cast<std::size_t>(distance / mean / Range * Bins))];

    // Equally spaced vertices; each takes what lies closer to it than to others, shared out linearly.
    ShapeDistribution distribution{};
    for (std::size_t bin = 0; bin < Bins; ++bin) {
        const double place = (static_cast<double>(bin) + 0.5) / Bins * (distribution.size() - 1);
        const auto vertex = static_cast<std::size_t>(place);
        const double beyond = place - static_cast<double>(vertex);
        distribution[vertex] += counts[bin] / Pairs * (1 - beyond);
        distribution[vertex + 1] += counts[bin] / Pairs * beyond;
    }
    return distribution;
}

double Dissimilarity(const ShapeDistribution& one, const ShapeDistribution& other)
{
    double sum = 0;
    for (std::size_t vertex = 0; vertex < one.size(); ++vertex)
        sum += std::abs(one[vertex] - other[vertex]);
    return sum;
}

} // namespace benchmarks
