// CAD data of the host: compound documents and the links between documents. Used on the user-interface
// thread. What an operation gives carries a reference that the caller releases.
#pragma once

#include "text.h"

/// Extensions of documents.
inline constexpr const char* ZALPartExtension = "ZALPart";
inline constexpr const char* ZALProductExtension = "ZALProduct";

/// Storage of a document that holds its link table.
inline constexpr const char* ZALDocumentStorage = "ZALOR1";

/// Mode of ZALStorage::OpenRootStg that opens for reading.
inline constexpr int ZALStorageRead = 1;

/// A storage of a compound document.
class ZALStorage : public ZALBaseUnknown {
public:
    ZALStorage();
    ~ZALStorage() override;
    /// Opens the compound document `path`; `create` is 0, `mode` reads. Fails, with a null
    /// `storage`, for a file that is none.
    static HRESULT OpenRootStg(const ZALUnicodeString& path, int create, ZALStorage** storage, int mode);
    /// Opens the storage `name` inside this one; `create` is 0.
    virtual HRESULT OpenStorage(const ZALUnicodeString& name, int create, ZALStorage** storage) = 0;
    /// Ends the use of the storage; what was read stays valid. `mode` is 0.
    virtual HRESULT Close(int mode) = 0;
};

/// Services on the properties of documents.
class ZALDocumentProperty {
public:
    /// Reads the link table in `storage` into an object that offers ZALIPointedSymbols. Null when the
    /// storage holds none or a damaged one. `context` is null.
    static ZALBaseUnknown* CreateDocLinkManager(ZALStorage* storage, void* context);
};

/// The documents that a document refers to.
class ZALIPointedSymbols : public ZALBaseUnknown {
public:
    ZALIPointedSymbols();
    ~ZALIPointedSymbols() override;
    /// Appends the paths of the documents referred to, each once, in the order of the link table.
    virtual HRESULT GetPointedDocuments(ZALListValZALUnicodeString& paths) = 0;

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

using ZALIPointedSymbols_var = ZALInterfaceHandle<ZALIPointedSymbols>;
