#include "openhost/geometry/ShapeGeometry.h"

#include "openhost/geometry/KernelFailure.h"
#include "openhost/geometry/KernelSpace.h"

#include <BRepBndLib.hxx>
#include <BRepCheck_Analyzer.hxx>
#include <BRepGProp.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <BinTools.hxx>
#include <GProp_GProps.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>

#include <iostream>
#include <sstream>

namespace openhost {

namespace {

std::uint32_t Count(const TopoDS_Shape& shape, TopAbs_ShapeEnum kind)
{
    TopTools_IndexedMapOfShape found;
    TopExp::MapShapes(shape, kind, found);
    return static_cast<std::uint32_t>(found.Extent());
}

/// Of sheets beside solids a volume means nothing.
double VolumeOf(const TopoDS_Shape& shape)
{
    const auto volumeOf = [](const TopoDS_Shape& part) {
        GProp_GProps properties;
        BRepGProp::VolumeProperties(part, properties);
        return properties.Mass();
    };
    if (!TopExp_Explorer(shape, TopAbs_FACE, TopAbs_SOLID).More())
        return volumeOf(shape);
    double volume = 0;
    for (TopExp_Explorer solid(shape, TopAbs_SOLID); solid.More(); solid.Next())
        volume += volumeOf(solid.Current());
    return volume;
}

/// The kernel tells what is wrong with bytes on standard output, where a journal may go.
class SilentOutput {
public:
    SilentOutput() : before_(std::cout.rdbuf(told_.rdbuf())) {}
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;
    ~SilentOutput() { std::cout.rdbuf(before_); }

private:
    std::ostringstream told_;
    std::streambuf* before_;
};

} // namespace

GeometryFacts MeasureShape(const TopoDS_Shape& shape)
{
    GeometryFacts facts;
    facts.solids = Count(shape, TopAbs_SOLID);
    facts.faces = Count(shape, TopAbs_FACE);
    facts.volume = VolumeOf(shape);
    GProp_GProps properties;
    BRepGProp::SurfaceProperties(shape, properties);
    facts.area = properties.Mass();
    Bnd_Box bounds;
    BRepBndLib::AddOptimal(shape, bounds, Standard_False, Standard_False);
    facts.box = FromKernel(bounds).value_or(Box());
    return facts;
}

void CheckSolids(const TopoDS_Shape& shape)
{
    if (!BRepCheck_Analyzer(shape).IsValid())
        throw GeometryError("the shape is not valid");
    if (!TopExp_Explorer(shape, TopAbs_SOLID).More())
        throw GeometryError("the shape has no solid");
}

std::string EncodeBoundary(const TopoDS_Shape& shape)
{
    std::ostringstream stream;
    BinTools::Write(shape, stream, Standard_False, Standard_False, BinTools_FormatVersion_CURRENT);
    return std::move(stream).str();
}

DocumentGeometry EncodeShape(const TopoDS_Shape& shape)
{
    if (shape.IsNull())
        throw GeometryError("a null shape has no geometry");
    try {
        CheckSolids(shape);
        return {MeasureShape(shape), EncodeBoundary(shape)};
    } catch (const Standard_Failure& failure) {
        throw GeometryError(ReasonOf(failure));
    }
}

TopoDS_Shape DecodeShape(const DocumentGeometry& geometry)
{
    TopoDS_Shape shape;
    const SilentOutput silence;
    try {
        std::istringstream stream(geometry.boundary);
        BinTools::Read(shape, stream);
    } catch (const Standard_Failure& failure) {
        throw GeometryError(ReasonOf(failure));
    }
    if (shape.IsNull())
        throw GeometryError("the bytes hold no shape");
    // The kernel's algorithms follow the surfaces and curves of what they are given unchecked.
    for (TopExp_Explorer faces(shape, TopAbs_FACE); faces.More(); faces.Next())
        if (!BRep_Tool::IsGeometric(TopoDS::Face(faces.Current())))
            throw GeometryError("a face has no surface");
    for (TopExp_Explorer edges(shape, TopAbs_EDGE); edges.More(); edges.Next())
        if (!BRep_Tool::IsGeometric(TopoDS::Edge(edges.Current())))
            throw GeometryError("an edge has no curve");
    BRepTools::Clean(shape); // of triangles, which could be any
    return shape;
}

} // namespace openhost
