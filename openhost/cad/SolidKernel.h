// The solid kernel behind the features of parts.
#pragma once

#include "openhost/documents/CadDocument.h"
#include "openhost/ports/Port.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace openhost {

/// Why the kernel refuses a geometry.
class SolidKernelError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct SolidCopy {
    DocumentGeometry geometry; ///< without facts
    std::string fault;         ///< why Check refuses it; empty when it does not
};

/// Port of the solid kernel. It takes and gives geometry as documents hold it, so that nothing of the kernel lives
/// longer than a call. Operations throw SolidKernelError. Backend: ProcessSolidKernel.
class SolidKernel : public Port<SolidKernel> {
public:
    virtual ~SolidKernel();

    /// A kernel that refuses every geometry.
    static std::unique_ptr<SolidKernel> WithoutBackend();

    /// A copy of the shape in `geometry`, checked on the way.
    virtual SolidCopy Copy(const DocumentGeometry& geometry) = 0;
    /// The geometry of the main tools of the documents `files` may be copied next, in their order. A kernel may begin
    /// with that, and throws nothing.
    virtual void Expect(const std::vector<std::filesystem::path>& files);
    /// Refuses a shape that is not valid or has no solid.
    virtual void Check(const DocumentGeometry& geometry) = 0;
};

extern template class Port<SolidKernel>;

} // namespace openhost
