#include "openhost/exchange/SoundShape.h"

#include "openhost/geometry/KernelFailure.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepCheck_Analyzer.hxx>
#include <BRep_Builder.hxx>
#include <ShapeBuild_ReShape.hxx>
#include <ShapeFix_Shape.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Compound.hxx>

#include <algorithm>
#include <cmath>

namespace openhost {

namespace {

using Warn = std::function<void(const std::string&)>;

bool IsValid(const TopoDS_Shape& shape)
{
    return BRepCheck_Analyzer(shape).IsValid();
}

/// Gives the faces that `fix` has put in the place of others their colours.
void MoveColors(const ShapeFix_Shape& fix, ColoredFaces& colors)
{
    ColoredFaces moved;
    for (ColoredFaces::Iterator entry(colors); entry.More(); entry.Next())
        for (TopExp_Explorer face(fix.Context()->Apply(entry.Key()), TopAbs_FACE); face.More(); face.Next())
            moved.Bind(face.Current(), entry.Value());
    colors = moved;
}

TopoDS_Shape Repaired(const TopoDS_Shape& shape, ColoredFaces& colors, const Warn& warn)
{
    if (IsValid(shape))
        return shape;
    try {
        ShapeFix_Shape fix(shape);
        fix.Perform();
        if (!fix.Shape().IsNull() && IsValid(fix.Shape())) {
            warn("faults of the geometry are repaired");
            MoveColors(fix, colors);
            return fix.Shape();
        }
    } catch (const Standard_Failure& failure) {
        ReasonOf(failure); // throws when memory has run out
    }
    warn("the geometry has faults that cannot be repaired, and is kept as it is");
    return shape;
}

bool IsFinite(const GeometryFacts& facts)
{
    double sum = facts.volume + facts.area;
    for (std::size_t axis = 0; axis < 3; ++axis)
        sum += facts.box.lowest[axis] + facts.box.highest[axis];
    return std::isfinite(sum);
}

/// A colour that all faces have is that of the whole.
PartColors NumberColors(const TopoDS_Shape& shape, const ColoredFaces& colors)
{
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(shape, TopAbs_FACE, faces);
    PartColors numbered;
    for (int index = 1; index <= faces.Extent(); ++index)
        if (const SurfaceColor* color = colors.Seek(faces(index)))
            numbered.faces.push_back({static_cast<std::uint32_t>(index - 1), *color});
    const bool isWhole = numbered.faces.size() == static_cast<std::size_t>(faces.Extent()) &&
                         std::ranges::adjacent_find(numbered.faces, std::ranges::not_equal_to(), &FaceColor::color) ==
                             numbered.faces.end();
    if (isWhole && !numbered.faces.empty())
        return {numbered.faces.front().color, {}};
    return numbered;
}

DocumentGeometry Encode(const TopoDS_Shape& shape, const ColoredFaces& colors)
{
    DocumentGeometry geometry{MeasureShape(shape), EncodeBoundary(shape), NumberColors(shape, colors)};
    if (!IsFinite(*geometry.facts))
        throw GeometryError("it has no size");
    DecodeShape(geometry); // as readers of the document will
    return geometry;
}

} // namespace

std::optional<DocumentGeometry> EncodeSoundShape(const TopoDS_Shape& shape, const ColoredFaces& colors,
                                                 const Warn& warn)
{
    if (shape.IsNull() || !TopExp_Explorer(shape, TopAbs_VERTEX).More())
        return std::nullopt;
    try {
        ColoredFaces ofFaces = colors;
        const TopoDS_Shape sound = Repaired(shape, ofFaces, warn);
        return Encode(sound, ofFaces);
    } catch (const Standard_Failure& failure) {
        warn("the geometry is left out: " + ReasonOf(failure));
    } catch (const GeometryError& error) {
        warn("the geometry is left out: " + std::string(error.what()));
    }
    return std::nullopt;
}

} // namespace openhost
