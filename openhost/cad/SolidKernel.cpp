#include "openhost/cad/SolidKernel.h"

#include <utility>

namespace openhost {

namespace {

std::unique_ptr<SolidKernel>& Installed()
{
    static std::unique_ptr<SolidKernel> kernel;
    return kernel;
}

} // namespace

SolidKernel::~SolidKernel() = default;

SolidKernel& SolidKernel::Current()
{
    if (!Installed())
        throw SolidKernelError("the host has no solid kernel");
    return *Installed();
}

std::unique_ptr<SolidKernel> SolidKernel::Install(std::unique_ptr<SolidKernel> kernel)
{
    return std::exchange(Installed(), std::move(kernel));
}

} // namespace openhost
