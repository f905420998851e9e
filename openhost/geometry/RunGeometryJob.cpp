#include "openhost/geometry/RunGeometryJob.h"

#include "openhost/geometry/KernelFailure.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry/Tessellation.h"

#include <BRepLib.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>

#include <type_traits>
#include <utility>

namespace openhost {

namespace {

using Tell = std::function<void(const std::string&)>;

/// The check asks for the curves of edges on planes many times, and has each computed anew unless the edge has it. A
/// sixth of its work.
void KeepCurvesOnPlanes(const TopoDS_Shape& shape)
{
    try {
        for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next())
            for (TopExp_Explorer edge(face.Current(), TopAbs_EDGE); edge.More(); edge.Next())
                BRepLib::BuildPCurveForEdgeOnPlane(TopoDS::Edge(edge.Current()), TopoDS::Face(face.Current()));
    } catch (const Standard_Failure&) {
        // The check will say what is wrong.
    }
}

std::string RunOn(const TopoDS_Shape& shape, const PartColors& colors, GeometryJob job, const Tell& tell)
{
    switch (job) {
    case GeometryJob::Copy:
        // It has been decoded for this alone, and shares nothing with anything.
        tell(EncodeBoundary(shape));
        [[fallthrough]];
    case GeometryJob::Check:
        KeepCurvesOnPlanes(shape);
        CheckSolids(shape);
        return {};
    case GeometryJob::Measure: {
        static_assert(std::is_trivially_copyable_v<GeometryFacts>);
        const GeometryFacts facts = MeasureShape(shape);
        return {reinterpret_cast<const char*>(&facts), sizeof(facts)};
    }
    case GeometryJob::Tessellate:
        return EncodeLvr(TessellateShape(shape, {}, colors));
    case GeometryJob::View:
        return EncodeLvr(TessellateShape(shape, ViewTolerance, colors));
    default:
        throw GeometryError("the job is unknown");
    }
}

} // namespace

std::string RunGeometryJob(GeometryJob job, std::string boundary, const Tell& tell)
{
    try {
        const PartColors colors = TakeColors(boundary);
        return RunOn(DecodeShape({{}, std::move(boundary)}), colors, job, tell);
    } catch (const Standard_Failure& failure) {
        throw GeometryError(ReasonOf(failure));
    }
}

} // namespace openhost
