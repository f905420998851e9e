#include "openhost/geometry/OpenCascadeKernel.h"

#include "openhost/geometry/ShapeGeometry.h"

#include <BRepBuilderAPI_Copy.hxx>
#include <Standard_Failure.hxx>
#include <TopoDS_Shape.hxx>

namespace openhost {

namespace {

/// Runs `operation`, which may throw errors of the kernel and of ShapeGeometry.
template <class Operation>
auto Guarded(Operation operation)
{
    try {
        return operation();
    } catch (const Standard_Failure& failure) {
        throw SolidKernelError(failure.GetMessageString());
    } catch (const GeometryError& error) {
        throw SolidKernelError(error.what());
    }
}

} // namespace

DocumentGeometry OpenCascadeKernel::Copy(const DocumentGeometry& geometry)
{
    return Guarded([&] {
        const TopoDS_Shape copy = BRepBuilderAPI_Copy(DecodeShape(geometry)).Shape();
        return DocumentGeometry{geometry.facts, EncodeBoundary(copy)};
    });
}

GeometryFacts OpenCascadeKernel::Measure(const DocumentGeometry& geometry)
{
    return Guarded([&] { return MeasureSolids(DecodeShape(geometry)); });
}

} // namespace openhost
