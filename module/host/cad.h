// CAD data of the host: compound documents and the links between documents. Used on the user-interface
// thread. What an operation gives carries a reference that the caller releases.
#pragma once

#include "text.h"

#include <vector>

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

    ZAL_DECLARE_META_CLASS
};

using ZALIPointedSymbols_var = ZALInterfaceHandle<ZALIPointedSymbols>;

// ---------------------------------------------------------------------------------------------
// Product structure
//
// A product stands in the workspace as an instance below its father and refers to a reference product, which is what
// its document holds. Objects offer the interfaces below by query.

/// A product: an instance, or the root of a document.
class ZALIProduct : public ZALBaseUnknown {
public:
    ZALIProduct();
    ~ZALIProduct() override;
    /// The product that an instance refers to, with a reference added; of a root itself. Null when its document is
    /// missing.
    virtual ZALIProduct* GetReferenceProduct() = 0;
    /// The product that this one stands in, with a reference added; null for a root.
    virtual ZALIProduct* GetFatherProduct() = 0;
    virtual HRESULT GetPartNumber(ZALUnicodeString& partNumber) = 0;
    /// Whether it is a reference product itself, as a root is, and not an instance of one.
    virtual bool IsReferenceProduct() = 0;
    /// Appends the instances below this product, at all levels, as objects that offer `interfaceName`: each before what
    /// stands below it, in the order of their fathers' lists. One in a sub-product that is used twice comes twice, each
    /// with its own position. Fails, and appends nothing, when the product can have none, as a part.
    virtual HRESULT GetChildren(const char* interfaceName, ZALListValZALBaseUnknown_var& children) = 0;
    /// The representation `name` of the product's shape, with a reference added: for "Default" the part feature of the
    /// part document that the product refers to. Null when there is none. `index` is 0 for the one in use; `deep` 1
    /// looks in the reference product as well; `load` 1 loads its document when it is not loaded.
    virtual ZALBaseUnknown* GetShapeRepresentation(const ZALUnicodeString& name, int index, int deep, int load) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIProduct_var = ZALInterfaceHandle<ZALIProduct>;

/// Offered by objects that have a name for the user, as reference products have.
class ZALIAlias : public ZALBaseUnknown {
public:
    ZALIAlias();
    ~ZALIAlias() override;
    /// The name; may be empty.
    virtual ZALUnicodeString GetAlias() = 0;

    ZAL_DECLARE_META_CLASS
};

/// A rigid placement: the columns of `Rotation` are the axes of what is placed, `Shift` its origin in millimetres, both
/// in the system of what it is placed in. The identity at first.
struct ZALMathTransformation {
    double Rotation[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}; ///< by row, then column
    double Shift[3] = {0, 0, 0};

    friend bool operator==(const ZALMathTransformation&, const ZALMathTransformation&) = default;
};

/// Offered by what has a position, such as products.
class ZALIMovable : public ZALBaseUnknown {
public:
    ZALIMovable();
    ~ZALIMovable() override;
    /// Gives the position in the system of `reference`, which may be any other object of the same tree; null stands for
    /// the tree's root. `context` is 0 and `absolute` 1: positions on the way to the common father count. Fails, and
    /// leaves `position` alone, when the two stand in no common tree.
    virtual HRESULT GetPosition(ZALMathTransformation& position, ZALIMovable* reference, int context, int absolute) = 0;
    /// Moves the object to `position` in the system of `reference`; the arguments are as above. Fails, and moves
    /// nothing, for a root and for a `position` that is not rigid.
    virtual HRESULT SetPosition(const ZALMathTransformation& position, ZALIMovable* reference, int context,
                                int absolute) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIAlias_var = ZALInterfaceHandle<ZALIAlias>;
using ZALIMovable_var = ZALInterfaceHandle<ZALIMovable>;

/// Offered by products whose data may be absent.
class ZALIPrdGhost : public ZALBaseUnknown {
public:
    ZALIPrdGhost();
    ~ZALIPrdGhost() override;
    /// Whether the product's data is there.
    virtual bool IsLoaded() = 0;

    ZAL_DECLARE_META_CLASS
};

/// Whether `product` is that of a part document.
bool ZALPrdIsAProductFromZALPart(ZALIProduct* product);

/// The way through the structure to an object, from the root to the leaf.
class ZALPathElement : public ZALBaseUnknown {
public:
    ZALPathElement();
    ~ZALPathElement() override;
    /// Begins a walk from the leaf towards the root.
    void InitToLeafElement();
    /// The next object of the walk, the leaf first; null after the root. No reference is added.
    ZALBaseUnknown* GetNextFatherObject();
    /// The same, under the name that sets of elements use.
    ZALBaseUnknown* NextFatherElement() { return GetNextFatherObject(); }
    /// The host's operation: appends `object` as the new leaf and adds a reference to it.
    void AddChildElement(ZALBaseUnknown* object);

    ZAL_DECLARE_META_CLASS

private:
    std::vector<ZALBaseUnknown*> objects_;
    std::size_t next_ = 0; ///< objects that the walk has still to give
};

using ZALPathElement_var = ZALInterfaceHandle<ZALPathElement>;

// ---------------------------------------------------------------------------------------------
// Automation

/// A zero-terminated text of the automation interfaces.
using ZALBSTR = char16_t*;
/// A boolean of the automation interfaces: ZALVariantTrue or ZALVariantFalse.
using ZALVariantBool = std::int16_t;
inline constexpr ZALVariantBool ZALVariantTrue = -1;
inline constexpr ZALVariantBool ZALVariantFalse = 0;

/// `text` as a text of the automation interfaces, which the caller frees with ZALFreeString.
ZALBSTR ConvertToBSTR(const ZALUnicodeString& text);
void ZALFreeString(ZALBSTR text);

/// An array of texts.
struct ZALVariant {
    struct ZALVariantArray* array = nullptr;
};

/// Makes `variant` an array of copies of `texts`, which the caller frees with FreeVariantSafeArray.
HRESULT BuildSafeArrayVariant(const ZALListValZALUnicodeString& texts, ZALVariant& variant);
void FreeVariantSafeArray(ZALVariant& variant);

/// A document in the workspace.
class ZALIADocument : public ZALBaseUnknown {
public:
    ZALIADocument();
    ~ZALIADocument() override;
};

/// The documents of the workspace.
class ZALIADocuments : public ZALBaseUnknown {
public:
    ZALIADocuments();
    ~ZALIADocuments() override;
    /// Opens the file `path` in a window of its own and makes it the active document; one that is open already becomes
    /// active. `document` carries a reference; null on failure.
    virtual HRESULT Open(ZALBSTR path, ZALIADocument** document) = 0;
};

/// The application as automation sees it; offered by the frame.
class ZALIAApplication : public ZALBaseUnknown {
public:
    ZALIAApplication();
    ~ZALIAApplication() override;
    /// The documents, with a reference added; may give null.
    virtual HRESULT GetDocuments(ZALIADocuments** documents) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIAApplication_var = ZALInterfaceHandle<ZALIAApplication>;

/// A product as automation sees it.
class ZALIAProduct : public ZALBaseUnknown {
public:
    ZALIAProduct();
    ~ZALIAProduct() override;

    ZAL_DECLARE_META_CLASS
};

using ZALIAProduct_var = ZALInterfaceHandle<ZALIAProduct>;

/// The components of a product as automation sees them.
class ZALIAProducts : public ZALBaseUnknown {
public:
    ZALIAProducts();
    ~ZALIAProducts() override;
    /// Adds one component for each file of the array `files`, at the origin. `method` "*" takes any kind of document.
    /// Nothing is added on failure.
    virtual HRESULT AddComponentsFromFiles(const ZALVariant& files, ZALBSTR method) = 0;
    /// Adds one component that refers to the product `reference` of a document in the workspace, at the origin.
    /// `instance` carries a reference. Nothing is added, and `instance` is null, on failure.
    virtual HRESULT AddComponent(ZALIAProduct* reference, ZALIAProduct** instance) = 0;
    /// Puts the document `file` in the place of `component`, and of each other of these components that refers to the
    /// same document when `allInstances` is true; positions and the order stay. `replacement` carries a reference.
    /// Nothing changes on failure.
    virtual HRESULT ReplaceComponent(ZALIAProduct* component, ZALBSTR file, ZALVariantBool allInstances,
                                     ZALIAProduct** replacement) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIAProducts_var = ZALInterfaceHandle<ZALIAProducts>;

// ---------------------------------------------------------------------------------------------
// Documents in the workspace and part numbers

/// A document that the workspace has loaded. Its content is reached by queries: ZALInit (part_features.h),
/// ZALIPersistentCamera (part_features.h).
class ZALDocument : public ZALBaseUnknown {
public:
    ZALDocument();
    ~ZALDocument() override;
    /// Keeps the document loaded, whatever else ends its use. Locks are counted.
    virtual HRESULT AddRefForLock() = 0;
    /// Drops one lock. `mode` is 0. Fails when there is none.
    virtual HRESULT ReleaseForLock(int mode) = 0;
    /// Full path of the document's file.
    virtual ZALUnicodeString StorageName() = 0;
};

/// Services on the documents of the workspace. The life of one that a program opens, in order:
///   1. Open, then AddRefForLock.
///   2. It is read and changed in memory; SaveAs or SaveAsNew write it.
///   3. ReleaseForLock, then Remove.
class ZALDocumentServices {
public:
    /// Gives the document of `path` without a window; one that is loaded already is given as it is. The workspace holds
    /// it until Remove; no reference is added. `mode` is 0. Fails, with a null `document`, for a file that is none.
    static HRESULT Open(const ZALUnicodeString& path, ZALDocument*& document, int mode);
    /// Writes `document` to the file `path`, which is its file from then on; the file of before stays as it is. The
    /// document keeps its identity: a later version of what it was. `format` is empty for the document's own; `mode` 1
    /// writes this document alone, not those that it refers to. Fails, and the document keeps its file, when `path`
    /// cannot be written or is the file of another document of the workspace.
    static HRESULT SaveAs(ZALDocument* document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                          int mode);
    /// The same as a new document: it gets an identity of its own, so that nothing takes it for a version of what it
    /// was made from. `mode` is 0.
    static HRESULT SaveAsNew(ZALDocument* document, const ZALUnicodeString& path, int mode);
    /// Ends one Open. What is not saved is lost with the last one, unless a window, a lock or another document still
    /// holds the document. `mode` is 1: nobody is asked. Fails for a document that no program has opened.
    static HRESULT Remove(ZALDocument* document, int mode);
    /// The document that `object`, such as a feature or a product, stands in; of an instance that of its reference. No
    /// reference is added. Null when there is none.
    static ZALDocument* GetDocumentOf(ZALBaseUnknown* object);
    /// The document of `path` among those loaded, with a reference added. Fails, and gives null, when it is not loaded.
    static HRESULT GetDocumentInSession(const ZALUnicodeString& path, ZALDocument** document);
};

/// The root product of `document`; a null handle when it has none, and for a null document.
ZALIProduct_var PrdGiveDocRootProduct(ZALDocument* document);

/// A name that is in use.
class ZALNameServerEntry : public ZALBaseUnknown {
public:
    ZALNameServerEntry();
    ~ZALNameServerEntry() override;
    virtual HRESULT GetName(ZALUnicodeString& name) = 0;
};

/// A list of entries, counted from 1.
class ZALNameServerEntries : public ZALBaseUnknown {
public:
    ZALNameServerEntries();
    ~ZALNameServerEntries() override;
    virtual int GetCount() = 0;
    /// The entry `index`, with a reference added; may be null.
    virtual ZALNameServerEntry* GetItem(int index) = 0;
};

/// Knows the part numbers that clash around a product: one entry for each that two or more documents in the tree of
/// the product have.
class ZALNameServer : public ZALBaseUnknown {
public:
    ZALNameServer();
    ~ZALNameServer() override;
    /// The entries, with a reference added; may be null.
    virtual ZALNameServerEntries* GetEntries() = 0;
};

/// Offered by products.
class ZALINameServerAccess : public ZALBaseUnknown {
public:
    ZALINameServerAccess();
    ~ZALINameServerAccess() override;
    /// The name server of the product, with a reference added; may be null.
    virtual ZALNameServer* GetNameServer() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALINameServerAccess_var = ZALInterfaceHandle<ZALINameServerAccess>;
