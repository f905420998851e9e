// What stands behind the document services of the host.
#pragma once

#include "openhost/ports/Port.h"

#include "host/cad.h"

namespace openhost {

/// Port of the document kernel. Backends: CompoundDocumentKernel, ScriptedDocumentKernel. A kernel must outlive the
/// storages that it has opened.
class DocumentKernel : public Port<DocumentKernel> {
public:
    virtual ~DocumentKernel();

    /// A CompoundDocumentKernel.
    static std::unique_ptr<DocumentKernel> WithoutBackend();

    /// Opens the document `path` for reading. The caller owns one reference on `storage`.
    virtual HRESULT OpenRoot(const ZALUnicodeString& path, ZALStorage** storage) = 0;
    /// An object for the link table in `storage`, with one reference for the caller, or null.
    virtual ZALBaseUnknown* CreateLinkManager(ZALStorage& storage) = 0;
};

extern template class Port<DocumentKernel>;

} // namespace openhost
