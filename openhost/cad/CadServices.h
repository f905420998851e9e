// What stands behind the CAD services of the host.
#pragma once

#include "openhost/ports/Port.h"

#include "host/cad.h"

namespace openhost {

/// Port of the CAD services. Backend: CadWorkspace. Objects that a backend gave may outlive it, but know nothing any
/// more.
class CadServices : public Port<CadServices> {
public:
    virtual ~CadServices();

    /// Services without documents; the frame of the host then does not offer ZALIAApplication.
    static std::unique_ptr<CadServices> WithoutBackend();

    /// The application that the frame offers, with a reference for the caller; null when it offers none.
    virtual ZALIAApplication* GetApplication() = 0;
    /// The loaded document of `path`, with a reference for the caller; `document` is null at first.
    virtual HRESULT FindDocument(const ZALUnicodeString& path, ZALDocument*& document) = 0;
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

extern template class Port<CadServices>;

} // namespace openhost
