// The document kernel on compound files.
#pragma once

#include "openhost/cad/DocumentKernel.h"

namespace openhost {

/// Reads documents from the disk. A link names a file beside its document when there is one of that name;
/// otherwise the pointed document is given as the link table has it.
class CompoundDocumentKernel : public DocumentKernel {
public:
    HRESULT OpenRoot(const ZALUnicodeString& path, ZALStorage** storage) override;
    ZALBaseUnknown* CreateLinkManager(ZALStorage& storage) override;
};

} // namespace openhost
