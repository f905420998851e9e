// What stands behind the CAD services of the host.
#pragma once

#include "host/cad.h"

#include <memory>

namespace openhost {

/// Port of the CAD services. The backend of a run is CadSession. Used on the user-interface thread.
class CadServices {
public:
    virtual ~CadServices();

    /// The backend in use, or null: the host then has no documents, and its frame does not offer ZALIAApplication.
    static CadServices* Current();
    /// Replaces the backend in use; null for none. Returns the one of before. Objects that a backend gave may outlive
    /// it, but know nothing any more.
    static std::unique_ptr<CadServices> Install(std::unique_ptr<CadServices> services);

    /// The application that the frame offers, with a reference for the caller; null when it offers none.
    virtual ZALIAApplication* GetApplication() = 0;
    /// The loaded document of `path`, with a reference for the caller; null when it is not loaded.
    virtual ZALDocument* FindDocument(const ZALUnicodeString& path) = 0;
    /// The root product of `document`, with a reference for the caller, or null.
    virtual ZALBaseUnknown* GetRootProduct(ZALDocument& document) = 0;
    /// Whether `product` is that of a part document.
    virtual bool IsOfPart(ZALIProduct& product) = 0;

    // The operations of ZALDocumentServices on documents that programs open. No argument is null.

    virtual HRESULT OpenDocument(const ZALUnicodeString& path, ZALDocument*& document, int mode) = 0;
    virtual HRESULT SaveDocumentAs(ZALDocument& document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                                   int mode) = 0;
    virtual HRESULT SaveDocumentAsNew(ZALDocument& document, const ZALUnicodeString& path, int mode) = 0;
    virtual HRESULT RemoveDocument(ZALDocument& document, int mode) = 0;
    virtual ZALDocument* DocumentOf(ZALBaseUnknown& object) = 0;
};

} // namespace openhost
