// Random points of a surface.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <random>
#include <vector>

namespace benchmarks {

/// Points spread over the area of a mesh by chance, the same ones in each run.
class SurfacePoints {
public:
    /// `mesh` must outlive it, and have an area.
    explicit SurfacePoints(const openhost::LvrMesh& mesh);

    openhost::Vector Next();

private:
    /// Steps of the whole area, for each of which the first triangle is known: it need not be searched for.
    static constexpr std::size_t Steps = 1 << 14;

    double Chance(); ///< from 0 to 1

    const openhost::LvrMesh& mesh_;
    std::vector<double> areas_;      ///< of all triangles up to each
    std::vector<std::size_t> first_; ///< triangle of each step
    std::mt19937_64 random_{1};
};

} // namespace benchmarks
