#include "openhost/cad/ProcessSolidKernel.h"

namespace openhost {

SolidCopy ProcessSolidKernel::Copy(const DocumentGeometry& geometry)
{
    SolidCopy copy{{{}, {}, geometry.colors}, {}};
    bool isCopied = false;
    try {
        process_->Run(GeometryJob::Copy, geometry.boundary, [&](const std::string& boundary) {
            copy.geometry.boundary = boundary;
            isCopied = true;
        });
    } catch (const GeometryJobError& error) {
        if (!isCopied)
            throw SolidKernelError(error.what());
        copy.fault = error.what();
    }
    return copy;
}

void ProcessSolidKernel::Check(const DocumentGeometry& geometry)
{
    try {
        process_->Run(GeometryJob::Check, geometry.boundary);
    } catch (const GeometryJobError& error) {
        throw SolidKernelError(error.what());
    }
}

} // namespace openhost
