#include "tests/support/ScriptedCad.h"

#include "openhost/cad/Automation.h"
#include "openhost/cad/LvrWriter.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <fstream>
#include <utility>

namespace openhost::testing {

OPENHOST_META_CLASS(ScriptedProduct, ZALBaseUnknown)

ScriptedProduct::ScriptedProduct(ScriptedCad& cad, std::string name)
    : cad_(cad), name_(std::move(name)), representation_(new ZALRep)
{
}

ScriptedProduct::~ScriptedProduct()
{
    representation_->Release();
}

namespace {

/// An object of the services, counted.
template <class Interface>
class Counted : public Interface {
public:
    explicit Counted(ScriptedCad& cad, const char* name = Interface::ClassName()) : cad_(cad), name_(name)
    {
        ++cad_.livingObjects;
    }
    ~Counted() override
    {
        --cad_.livingObjects;
        if (cad_.ends.size() < cad_.ends.capacity()) // an end takes no memory
            cad_.ends.push_back(name_);
    }

protected:
    ScriptedCad& Cad() const { return cad_; }

private:
    ScriptedCad& cad_;
    const char* name_;
};

/// An interface of a product, which it holds.
template <class Interface>
class Facet : public Counted<Interface> {
public:
    explicit Facet(ScriptedProduct& product) : Counted<Interface>(product.Cad()), product_(product)
    {
        product_.AddRef();
    }
    ~Facet() override { product_.Release(); }
    ZALBaseUnknown* GetImpl(int level) override { return level == 0 ? &product_ : nullptr; }

protected:
    ScriptedProduct& Product() const { return product_; }

private:
    ScriptedProduct& product_;
};

class Product : public Facet<ZALIProduct> {
public:
    using Facet::Facet;
    ZALIProduct* GetReferenceProduct() override { return Give(Facet::Product().reference); }
    ZALIProduct* GetFatherProduct() override { return Give(Facet::Product().father); }
    HRESULT GetPartNumber(ZALUnicodeString& partNumber) override
    {
        partNumber = FromUtf8(Facet::Product().partNumber);
        return S_OK;
    }
    bool IsReferenceProduct() override { return Facet::Product().isReference; }
    HRESULT GetChildren(const char*, ZALListValZALBaseUnknown_var&) override { return E_FAIL; }
    ZALBaseUnknown* GetShapeRepresentation(const ZALUnicodeString&, int, int, int) override { return nullptr; }

private:
    static ZALIProduct* Give(ScriptedProduct* product) { return product ? new class Product(*product) : nullptr; }
};

class Ghost : public Facet<ZALIPrdGhost> {
public:
    using Facet::Facet;
    bool IsLoaded() override { return Product().loaded; }
};

class Component : public Facet<ZALIAProduct> {
public:
    using Facet::Facet;
};

class Components : public Facet<ZALIAProducts> {
public:
    using Facet::Facet;

    HRESULT AddComponentsFromFiles(const ZALVariant& files, ZALBSTR method) override
    {
        std::string call = "Add to " + Product().Name() + ":";
        for (const ZALUnicodeString& file : TextsOf(files))
            call += " " + ToUtf8(file);
        Cad().calls.push_back(call + ", method " + ToUtf8(FromBSTR(method)));
        if (Cad().onAdd)
            Cad().onAdd(files, method);
        return Product().addResult;
    }

    HRESULT AddComponent(ZALIAProduct*, ZALIAProduct** instance) override
    {
        Cad().calls.push_back("Add to " + Product().Name());
        *instance = nullptr;
        return E_FAIL;
    }

    HRESULT ReplaceComponent(ZALIAProduct* component, ZALBSTR file, ZALVariantBool allInstances,
                             ZALIAProduct** replacement) override
    {
        auto* replaced = component ? static_cast<ScriptedProduct*>(component->GetImpl(0)) : nullptr;
        // True has all of its 16 bits set.
        const std::string which = allInstances == -1 ? "all" : allInstances == 0 ? "one" : std::to_string(allInstances);
        Cad().calls.push_back("Replace " + (replaced ? replaced->Name() : "nothing") + " in " + Product().Name() +
                              ": " + ToUtf8(FromBSTR(file)) + ", " + which);
        *replacement = replaced && Product().givesReplacement ? new Component(*replaced) : nullptr;
        return Product().replaceResult;
    }
};

class Entry : public Counted<ZALNameServerEntry> {
public:
    Entry(ScriptedCad& cad, const std::string& name) : Counted(cad), name_(FromUtf8(name)) {}
    HRESULT GetName(ZALUnicodeString& name) override
    {
        name = name_;
        return S_OK;
    }

private:
    ZALUnicodeString name_;
};

class Entries : public Facet<ZALNameServerEntries> {
public:
    using Facet::Facet;
    int GetCount() override { return static_cast<int>(Product().names.size()); }
    ZALNameServerEntry* GetItem(int index) override
    {
        Cad().calls.push_back("GetItem " + std::to_string(index));
        const std::optional<std::string>& name = Product().names.at(static_cast<std::size_t>(index - 1));
        return name ? new Entry(Cad(), *name) : nullptr;
    }
};

class Server : public Facet<ZALNameServer> {
public:
    using Facet::Facet;
    ZALNameServerEntries* GetEntries() override
    {
        Cad().calls.push_back("GetEntries of " + Product().Name());
        return Product().hasEntries ? new Entries(Product()) : nullptr;
    }
};

class ServerAccess : public Facet<ZALINameServerAccess> {
public:
    using Facet::Facet;
    ZALNameServer* GetNameServer() override { return Product().hasNameServer ? new Server(Product()) : nullptr; }
};

class Alias : public Facet<ZALIAlias> {
public:
    using Facet::Facet;
    ZALUnicodeString GetAlias() override { return FromUtf8(Product().alias); }
};

class Display : public Facet<ZALI3DGeoVisu> {
public:
    using Facet::Facet;
    ZALRep* GiveRep() override { return Product().hasRepresentation ? &Product().Representation() : nullptr; }
};

template <class Interface, bool ScriptedProduct::*offered>
ZALBaseUnknown* Offer(ZALBaseUnknown* object)
{
    auto& product = static_cast<ScriptedProduct&>(*object);
    return product.*offered ? new Interface(product) : nullptr;
}

const ZALFillDictionary Products("ScriptedProduct", "ZALIProduct", Offer<Product, &ScriptedProduct::offersProduct>, 0);
const ZALFillDictionary Ghosts("ScriptedProduct", "ZALIPrdGhost", Offer<Ghost, &ScriptedProduct::offersGhost>, 0);
const ZALFillDictionary OneComponent("ScriptedProduct", "ZALIAProduct",
                                     Offer<Component, &ScriptedProduct::offersComponent>, 0);
const ZALFillDictionary AllComponents("ScriptedProduct", "ZALIAProducts",
                                      Offer<Components, &ScriptedProduct::offersComponents>, 0);
const ZALFillDictionary NameServers("ScriptedProduct", "ZALINameServerAccess",
                                    Offer<ServerAccess, &ScriptedProduct::offersNameServer>, 0);

const ZALFillDictionary Aliases("ScriptedProduct", "ZALIAlias", Offer<Alias, &ScriptedProduct::offersAlias>, 0);
const ZALFillDictionary Displays("ScriptedProduct", "ZALI3DGeoVisu", Offer<Display, &ScriptedProduct::offersDisplay>,
                                 0);

class LightFiles : public LvrWriter {
public:
    explicit LightFiles(ScriptedCad& cad) : cad_(cad) {}
    int Write(const ZALRep&, const std::string& path) override
    {
        cad_.calls.push_back("Write light file " + path);
        if (cad_.lightFileResult == 0)
            std::ofstream(path, std::ios::binary) << cad_.lightFileContent;
        return cad_.lightFileResult;
    }

private:
    ScriptedCad& cad_;
};

// ---------------------------------------------------------------------------------------------
// Application and documents

class Document : public Counted<ZALDocument> {
public:
    Document(ScriptedCad& cad, ScriptedProduct* root) : Counted(cad), root_(root) {}
    ScriptedProduct* Root() const { return root_; }
    HRESULT AddRefForLock() override { return E_FAIL; }
    HRESULT ReleaseForLock(int) override { return E_FAIL; }
    ZALUnicodeString StorageName() override { return {}; }

private:
    ScriptedProduct* root_;
};

class OpenedDocument : public Counted<ZALIADocument> {
public:
    explicit OpenedDocument(ScriptedCad& cad) : Counted(cad, "ZALIADocument") {}
};

class OpenDocuments : public Counted<ZALIADocuments> {
public:
    explicit OpenDocuments(ScriptedCad& cad) : Counted(cad, "ZALIADocuments") {}
    HRESULT Open(ZALBSTR path, ZALIADocument** document) override
    {
        Cad().calls.push_back("Open " + ToUtf8(FromBSTR(path)));
        if (Cad().onOpen)
            Cad().onOpen();
        *document = Cad().givesDocument ? new OpenedDocument(Cad()) : nullptr;
        return Cad().openResult;
    }
};

class Application : public Counted<ZALIAApplication> {
public:
    using Counted::Counted;
    HRESULT GetDocuments(ZALIADocuments** documents) override
    {
        *documents = Cad().hasDocuments ? new OpenDocuments(Cad()) : nullptr;
        return S_OK;
    }
};

class Services : public CadServices {
public:
    explicit Services(ScriptedCad& cad) : cad_(cad) {}

    ZALIAApplication* GetApplication() override { return cad_.offersApplication ? new Application(cad_) : nullptr; }
    HRESULT FindDocument(const ZALUnicodeString& path, ZALDocument*& document) override
    {
        if (cad_.onFind)
            cad_.onFind();
        const auto found = cad_.loaded.find(ToUtf8(path));
        if (found == cad_.loaded.end())
            return E_FAIL;
        document = new Document(cad_, found->second);
        return cad_.findResult;
    }
    ZALBaseUnknown* GetRootProduct(ZALDocument& document) override
    {
        ScriptedProduct* root = static_cast<Document&>(document).Root();
        if (root)
            root->AddRef();
        return root;
    }
    bool IsOfPart(ZALIProduct& product) override { return static_cast<ScriptedProduct*>(product.GetImpl(0))->isOfPart; }

    // Nothing here opens documents for itself.
    HRESULT OpenDocument(const ZALUnicodeString&, ZALDocument*&, int) override { return E_FAIL; }
    HRESULT SaveDocumentAs(ZALDocument&, const ZALUnicodeString&, const ZALUnicodeString&, int) override
    {
        return E_FAIL;
    }
    HRESULT SaveDocumentAsNew(ZALDocument&, const ZALUnicodeString&, int) override { return E_FAIL; }
    HRESULT RemoveDocument(ZALDocument&, int) override { return E_FAIL; }
    ZALDocument* DocumentOf(ZALBaseUnknown&) override { return nullptr; }

private:
    ScriptedCad& cad_;
};

} // namespace

ScriptedCad::ScriptedCad()
{
    ends.reserve(64);
    CadServices::Install(std::make_unique<Services>(*this));
    LvrWriter::Install(std::make_unique<LightFiles>(*this));
}

ScriptedCad::~ScriptedCad()
{
    LvrWriter::Install(nullptr);
    CadServices::Install(nullptr);
}

ZALPathElement* PathTo(ScriptedProduct& leaf)
{
    std::vector<ScriptedProduct*> way;
    for (ScriptedProduct* product = &leaf; product; product = product->father)
        way.push_back(product);
    auto* path = new ZALPathElement;
    for (auto product = way.rbegin(); product != way.rend(); ++product)
        path->AddChildElement(*product);
    return path;
}

} // namespace openhost::testing
