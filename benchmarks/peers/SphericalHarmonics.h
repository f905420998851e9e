// The descriptors by spherical harmonics of M. Kazhdan, T. Funkhouser and S. Rusinkiewicz, "Rotation Invariant
// Spherical Harmonic Representation of 3D Shape Descriptors", Symposium on Geometry Processing (2003), as the article
// tells them: peers of the project's own.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <array>
#include <cstddef>

namespace benchmarks {

/// For each of 32 spheres around the centre of mass, how much of the function on it is of each of 16 frequencies.
using HarmonicsOfSpheres = std::array<double, std::size_t{32} * 16>;

/// Of the voxels that the surface goes through: 1 there, 0 elsewhere.
HarmonicsOfSpheres DescribeVoxels(const openhost::LvrMesh& mesh);
/// Of the Gaussian of the distance from the surface: 1 on it, less the farther from it.
HarmonicsOfSpheres DescribeDistanceField(const openhost::LvrMesh& mesh);
/// The Euclidean distance.
double Dissimilarity(const HarmonicsOfSpheres& one, const HarmonicsOfSpheres& other);

} // namespace benchmarks
