// The solid kernel behind the features of parts.
#pragma once

#include "openhost/documents/CadDocument.h"

#include <memory>
#include <stdexcept>

namespace openhost {

/// Why the kernel refuses a geometry.
class SolidKernelError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Port of the solid kernel. It takes and gives geometry as documents hold it, so that nothing of the kernel lives
/// longer than a call. Operations throw SolidKernelError. Used on the user-interface thread.
class SolidKernel {
public:
    virtual ~SolidKernel();

    /// The kernel in use. Throws SolidKernelError when there is none.
    static SolidKernel& Current();
    /// Replaces the kernel in use; null for none. Returns the one of before.
    static std::unique_ptr<SolidKernel> Install(std::unique_ptr<SolidKernel> kernel);

    /// A copy of the shape in `geometry`, with its facts as they are.
    virtual DocumentGeometry Copy(const DocumentGeometry& geometry) = 0;
    /// The facts of the shape in `geometry`, measured. Refuses a shape that is not valid or has no solid.
    virtual GeometryFacts Measure(const DocumentGeometry& geometry) = 0;
};

} // namespace openhost
