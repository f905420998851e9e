#include "benchmarks/peers/SurfacePoints.h"

#include <cmath>

namespace benchmarks {

using openhost::Cross;
using openhost::Difference;
using openhost::Dot;
using openhost::ToVector;
using openhost::Vector;

SurfacePoints::SurfacePoints(const openhost::LvrMesh& mesh) : mesh_(mesh)
{
    double sum = 0;
    for (const auto& [a, b, c] : mesh.triangles) {
        const Vector corner = ToVector(mesh.positions[a]);
        const Vector normal =
            Cross(Difference(ToVector(mesh.positions[b]), corner), Difference(ToVector(mesh.positions[c]), corner));
        sum += std::sqrt(Dot(normal, normal)) / 2;
        areas_.push_back(sum);
    }
    std::size_t triangle = 0;
    for (std::size_t step = 0; step < Steps; ++step) {
        while (triangle + 1 < areas_.size() && areas_[triangle] < static_cast<double>(step) / Steps * sum)
            ++triangle;
        first_.push_back(triangle);
    }
}

double SurfacePoints::Chance()
{
    return std::ldexp(static_cast<double>(random_() >> 11), -53);
}

Vector SurfacePoints::Next()
{
    const double wanted = Chance();
    std::size_t number = first_[static_cast<std::size_t>(wanted * Steps)];
    while (number + 1 < areas_.size() && areas_[number] < wanted * areas_.back())
        ++number;
    const double root = std::sqrt(Chance());
    const double along = Chance();
    const std::array<double, 3> weights{1 - root, root * (1 - along), root * along};
    Vector point{};
    for (std::size_t corner = 0; corner < 3; ++corner)
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] += weights[corner] * mesh_.positions[mesh_.triangles[number][corner]][axis];
    return point;
}

} // namespace benchmarks
