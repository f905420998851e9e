#include "openhost/geometry/RunGeometryJob.h"

#include "openhost/geometry/KernelFailure.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry/Tessellation.h"

#include <Standard_Failure.hxx>
#include <TopoDS_Shape.hxx>

#include <type_traits>
#include <utility>

namespace openhost {

namespace {

using Tell = std::function<void(const std::string&)>;

std::string RunOn(const TopoDS_Shape& shape, const PartColors& colors, GeometryJob job, const Tell& tell)
{
    switch (job) {
    case GeometryJob::Copy:
        // It has been decoded for this alone, and shares nothing with anything.
        tell(EncodeBoundary(shape));
        [[fallthrough]];
    case GeometryJob::Check:
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
