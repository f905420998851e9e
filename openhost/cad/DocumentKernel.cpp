#include "openhost/cad/DocumentKernel.h"

#include "openhost/cad/CompoundDocumentKernel.h"

#include <utility>

namespace openhost {

namespace {
std::unique_ptr<DocumentKernel>& Installed()
{
    static std::unique_ptr<DocumentKernel> kernel = std::make_unique<CompoundDocumentKernel>();
    return kernel;
}
} // namespace

DocumentKernel::~DocumentKernel() = default;

DocumentKernel& DocumentKernel::Current()
{
    return *Installed();
}

std::unique_ptr<DocumentKernel> DocumentKernel::Install(std::unique_ptr<DocumentKernel> kernel)
{
    return std::exchange(Installed(), std::move(kernel));
}

} // namespace openhost
