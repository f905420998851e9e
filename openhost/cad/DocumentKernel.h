// What stands behind the document services of the host.
#pragma once

#include "host/cad.h"

#include <memory>

namespace openhost {

/// Port of the document kernel. Backends: CompoundDocumentKernel, ScriptedDocumentKernel. Used on the
/// user-interface thread.
class DocumentKernel {
public:
    virtual ~DocumentKernel();

    /// The kernel in use. There is always one; a process begins with a CompoundDocumentKernel.
    static DocumentKernel& Current();
    /// Replaces the kernel in use. Returns the one of before, which must outlive the storages that it opened.
    static std::unique_ptr<DocumentKernel> Install(std::unique_ptr<DocumentKernel> kernel);

    /// Opens the document `path` for reading. The caller owns one reference on `storage`.
    virtual HRESULT OpenRoot(const ZALUnicodeString& path, ZALStorage** storage) = 0;
    /// An object for the link table in `storage`, with one reference for the caller, or null.
    virtual ZALBaseUnknown* CreateLinkManager(ZALStorage& storage) = 0;
};

} // namespace openhost
