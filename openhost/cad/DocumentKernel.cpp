#include "openhost/cad/DocumentKernel.h"

#include "openhost/cad/CompoundDocumentKernel.h"

namespace openhost {

template class Port<DocumentKernel>;

DocumentKernel::~DocumentKernel() = default;

std::unique_ptr<DocumentKernel> DocumentKernel::WithoutBackend()
{
    return std::make_unique<CompoundDocumentKernel>();
}

} // namespace openhost
