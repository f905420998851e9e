// The colours of a part at the faces of its shape.
#pragma once

#include "openhost/documents/PartColors.h"

#include <TopTools_IndexedMapOfShape.hxx>

class TopoDS_Shape;

namespace openhost {

class FaceColors {
public:
    FaceColors(const TopoDS_Shape& shape, const PartColors& colors);

    /// The colour of a face of the shape.
    std::optional<SurfaceColor> operator()(const TopoDS_Shape& face) const;
    /// The different faces of the shape, from 1, in the order in which colours number them from 0.
    const TopTools_IndexedMapOfShape& Faces() const { return faces_; }

private:
    TopTools_IndexedMapOfShape faces_;
    std::vector<std::optional<SurfaceColor>> colors_;
};

} // namespace openhost
