#include "openhost/geometry/FaceColors.h"

#include <TopExp.hxx>
#include <TopoDS_Shape.hxx>

namespace openhost {

FaceColors::FaceColors(const TopoDS_Shape& shape, const PartColors& colors)
{
    if (colors.IsEmpty())
        return;
    TopExp::MapShapes(shape, TopAbs_FACE, faces_);
    colors_ = ColorsOfFaces(colors, static_cast<std::size_t>(faces_.Extent()));
}

std::optional<SurfaceColor> FaceColors::operator()(const TopoDS_Shape& face) const
{
    const int index = faces_.FindIndex(face);
    return index > 0 ? colors_[static_cast<std::size_t>(index - 1)] : std::nullopt;
}

} // namespace openhost
