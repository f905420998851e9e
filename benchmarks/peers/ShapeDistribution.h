// The descriptor D2 of R. Osada, T. Funkhouser, B. Chazelle and D. Dobkin, "Shape Distributions", ACM Transactions on
// Graphics 21 (2002), as the article tells it: a peer of the project's own.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <array>

namespace benchmarks {

/// How often two random points of the surface are how far apart, in parts of the mean distance: the vertices of a
/// piecewise linear function.
using ShapeDistribution = std::array<double, 64>;

ShapeDistribution DescribeDistances(const openhost::LvrMesh& mesh);
/// The Minkowski norm L1 of the difference, which the article has found the best.
double Dissimilarity(const ShapeDistribution& one, const ShapeDistribution& other);

} // namespace benchmarks
