#include "openhost/cad/ProcessSolidKernel.h"

#include <cstring>

namespace openhost {

DocumentGeometry ProcessSolidKernel::Copy(const DocumentGeometry& geometry)
{
    try {
        return {geometry.facts, process_->Run(GeometryJob::Copy, geometry.boundary), geometry.colors};
    } catch (const GeometryJobError& error) {
        throw SolidKernelError(error.what());
    }
}

GeometryFacts ProcessSolidKernel::Measure(const DocumentGeometry& geometry)
{
    try {
        const std::string bytes = process_->Run(GeometryJob::Measure, geometry.boundary);
        GeometryFacts facts;
        if (bytes.size() != sizeof(facts))
            throw SolidKernelError("the facts of the shape are not whole");
        std::memcpy(&facts, bytes.data(), sizeof(facts));
        return facts;
    } catch (const GeometryJobError& error) {
        throw SolidKernelError(error.what());
    }
}

} // namespace openhost
