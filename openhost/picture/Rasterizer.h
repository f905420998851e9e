// Draws triangles and lines into a picture: orthographic, hidden surfaces removed, smooth at the borders.
#pragma once

#include "openhost/picture/PartMesh.h"
#include "openhost/picture/Picture.h"
#include "openhost/space/Placement.h"

#include <vector>

namespace openhost {

/// A mesh at its place. View coordinates: x to the right, y up, z towards the viewer, in millimetres.
struct PlacedMesh {
    const PartMesh* mesh = nullptr;
    Placement toView{};
    Color color{};     ///< of triangles that have none of their own
    double lowest = 0; ///< of its points in y
    double highest = 0;
};

/// What lies at the middle of the picture, and how large a pixel is there.
struct Viewport {
    double middleX = 0;
    double middleY = 0;
    double pixel = 1;
};

inline constexpr Color BackgroundColor{246, 247, 249};

/// The picture of `meshes`, band by band, so that memory is bounded by the size of the picture.
Picture Rasterize(const std::vector<PlacedMesh>& meshes, const Viewport& viewport, PictureSize size);

} // namespace openhost
