// Meshes for tests of the shape search.
#pragma once

#include "openhost/lvr/LvrMesh.h"

namespace catalogue::testing {

/// A box from the origin, each side a grid of `cells` by `cells` squares.
openhost::LvrMesh BoxMesh(float x, float y, float z, unsigned int cells = 1);
/// The lateral face and the ends of a cylinder about the z axis, with `sides` sides.
openhost::LvrMesh CylinderMesh(float radius, float height, unsigned int sides);
/// `mesh` turned about an axis that is none of its own, and moved away.
openhost::LvrMesh Moved(const openhost::LvrMesh& mesh);
/// `mesh` as a mirror shows it.
openhost::LvrMesh Mirrored(openhost::LvrMesh mesh);
/// `mesh` with every position multiplied by `factor`.
openhost::LvrMesh Scaled(openhost::LvrMesh mesh, float factor);

} // namespace catalogue::testing
