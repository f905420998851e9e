// What the products of the workspace offer by query.

#include "openhost/cad/Automation.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/Facet.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/Guard.h"
#include "openhost/cad/WorkspaceOccurrence.h"
#include "openhost/files/Paths.h"
#include "openhost/text/Utf.h"

namespace openhost {

namespace {

/// An interface of a product or an occurrence.
template <class Interface, class Object = WorkspaceProduct>
class ProductFacet : public Facet<Interface, Object> {
public:
    using Facet<Interface, Object>::Facet;

protected:
    Object& Product() const { return this->Target(); }
};

ZALIProduct* RootOf(const LoadedDocument* document);

HRESULT PartNumberOf(const WorkspaceProduct& product, ZALUnicodeString& partNumber)
{
    const LoadedDocument* reference = product.Reference();
    partNumber = reference ? FromUtf8(reference->PartNumber()) : ZALUnicodeString();
    return reference ? S_OK : E_FAIL;
}

/// The representation `name` of the shape of `product`, with a reference for the caller. Documents load with those that
/// refer to them, so that there is nothing to load here.
ZALBaseUnknown* PartOf(const WorkspaceProduct& product, const ZALUnicodeString& name)
{
    LoadedDocument* reference = product.Reference();
    FeatureContainer* features = reference ? reference->Features() : nullptr;
    PartFeature* part = features ? features->Part() : nullptr;
    if (!part || name.Compare("Default") != ZALTextsIdentical)
        return nullptr;
    return Share(part).release();
}

HRESULT AppendInstances(ZALBaseUnknown& product, const char* interfaceName, ZALListValZALBaseUnknown_var& children)
{
    std::vector<ZALBaseUnknown_var> instances;
    const HRESULT result = Guard("GetChildren", [&] { instances = InstancesBelow(product); });
    if (FAILED(result))
        return result;
    for (const ZALBaseUnknown_var& instance : instances) {
        ZALBaseUnknown* found = nullptr;
        if (SUCCEEDED(instance->QueryInterface(interfaceName, &found)))
            children.Append(ZALBaseUnknown_var::Take(found));
    }
    return S_OK;
}

class ProductInterface : public ProductFacet<ZALIProduct> {
public:
    using ProductFacet::ProductFacet;

    ZALIProduct* GetReferenceProduct() override { return RootOf(Product().Reference()); }
    ZALIProduct* GetFatherProduct() override { return Product().IsRoot() ? nullptr : RootOf(Product().Owner()); }
    HRESULT GetPartNumber(ZALUnicodeString& partNumber) override { return PartNumberOf(Product(), partNumber); }
    HRESULT GetChildren(const char* interfaceName, ZALListValZALBaseUnknown_var& children) override
    {
        return AppendInstances(Product(), interfaceName, children);
    }
    bool IsReferenceProduct() override { return Product().IsRoot(); }
    ZALBaseUnknown* GetShapeRepresentation(const ZALUnicodeString& name, int, int, int) override
    {
        return PartOf(Product(), name);
    }
};

ZALIProduct* RootOf(const LoadedDocument* document)
{
    return document && document->Root() ? new ProductInterface(*document->Root()) : nullptr;
}

class OccurrenceInterface : public ProductFacet<ZALIProduct, WorkspaceOccurrence> {
public:
    using ProductFacet::ProductFacet;

    ZALIProduct* GetReferenceProduct() override { return RootOf(Product().Leaf().Reference()); }
    ZALIProduct* GetFatherProduct() override
    {
        ProductWay way = Product().Way();
        way.pop_back();
        const Owned<WorkspaceOccurrence> father(new WorkspaceOccurrence(std::move(way)));
        return new OccurrenceInterface(*father);
    }
    HRESULT GetPartNumber(ZALUnicodeString& partNumber) override { return PartNumberOf(Product().Leaf(), partNumber); }
    bool IsReferenceProduct() override { return false; }
    HRESULT GetChildren(const char* interfaceName, ZALListValZALBaseUnknown_var& children) override
    {
        return AppendInstances(Product(), interfaceName, children);
    }
    ZALBaseUnknown* GetShapeRepresentation(const ZALUnicodeString& name, int, int, int) override
    {
        return PartOf(Product().Leaf(), name);
    }
};

/// Serves products and occurrences alike.
class MovableInterface : public ProductFacet<ZALIMovable, ZALBaseUnknown> {
public:
    using ProductFacet::ProductFacet;

    HRESULT GetPosition(ZALMathTransformation& position, ZALIMovable* reference, int, int) override
    {
        return Guard("GetPosition",
                     [&] { position = PositionIn(Product(), reference ? reference->GetImpl(0) : nullptr); });
    }
    HRESULT SetPosition(const ZALMathTransformation& position, ZALIMovable* reference, int, int) override
    {
        return Guard("SetPosition",
                     [&] { SetPositionIn(Product(), reference ? reference->GetImpl(0) : nullptr, position); });
    }
};

/// The name of a product for the user is its part number.
class AliasInterface : public ProductFacet<ZALIAlias> {
public:
    using ProductFacet::ProductFacet;
    ZALUnicodeString GetAlias() override
    {
        const LoadedDocument* reference = Product().Reference();
        return reference ? FromUtf8(reference->PartNumber()) : ZALUnicodeString();
    }
};

class DisplayInterface : public ProductFacet<ZALI3DGeoVisu> {
public:
    using ProductFacet::ProductFacet;
    ZALRep* GiveRep() override { return Product().GiveRep(); }
};

class GhostInterface : public ProductFacet<ZALIPrdGhost> {
public:
    using ProductFacet::ProductFacet;
    bool IsLoaded() override { return Product().Reference() != nullptr; }
};

class ComponentInterface : public ProductFacet<ZALIAProduct> {
public:
    using ProductFacet::ProductFacet;
};

/// Offered by parts and missing products as well: who wants to replace one asks it first. Nothing can be added to them.
class ComponentsInterface : public ProductFacet<ZALIAProducts> {
public:
    using ProductFacet::ProductFacet;

    HRESULT AddComponentsFromFiles(const ZALVariant& files, ZALBSTR method) override
    {
        if (!files.array || FromBSTR(method).Compare("*") != ZALTextsIdentical)
            return E_INVALIDARG;
        std::vector<std::filesystem::path> paths;
        for (const ZALUnicodeString& file : TextsOf(files))
            paths.emplace_back(SystemPath(file));
        return Guard("AddComponentsFromFiles", [&] { Workspace().AddComponents(Product(), paths); });
    }

    HRESULT AddComponent(ZALIAProduct* reference, ZALIAProduct** instance) override
    {
        if (!instance)
            return E_INVALIDARG;
        *instance = nullptr;
        auto* added = reference ? dynamic_cast<WorkspaceProduct*>(reference->GetImpl(0)) : nullptr;
        if (!added || !added->Reference())
            return E_INVALIDARG;
        return Guard("AddComponent", [&] {
            *instance = new ComponentInterface(Workspace().AddComponent(Product(), *added->Reference()));
        });
    }

    HRESULT ReplaceComponent(ZALIAProduct* component, ZALBSTR file, ZALVariantBool allInstances,
                             ZALIAProduct** replacement) override
    {
        if (!replacement)
            return E_INVALIDARG;
        *replacement = nullptr;
        auto* replaced = component ? dynamic_cast<WorkspaceProduct*>(component->GetImpl(0)) : nullptr;
        if (!replaced || !file)
            return E_INVALIDARG;
        const HRESULT result = Guard("ReplaceComponent", [&] {
            const auto replace =
                allInstances == ZALVariantFalse ? &CadWorkspace::ReplaceComponent : &CadWorkspace::ReplaceAllInstances;
            (Workspace().*replace)(Product(), *replaced, SystemPath(FromBSTR(file)));
        });
        if (SUCCEEDED(result))
            *replacement = new ComponentInterface(*replaced);
        return result;
    }

private:
    CadWorkspace& Workspace() const
    {
        const LoadedDocument* document = Product().Reference();
        if (!document || !document->Workspace())
            throw CadWorkspaceError("the document of the product is not loaded");
        return *document->Workspace();
    }
};

class UsedName : public ZALNameServerEntry {
public:
    explicit UsedName(const std::string& name) : name_(FromUtf8(name)) {}
    HRESULT GetName(ZALUnicodeString& name) override
    {
        name = name_;
        return S_OK;
    }

private:
    ZALUnicodeString name_;
};

class UsedNames : public ZALNameServerEntries {
public:
    explicit UsedNames(std::vector<std::string> names) : names_(std::move(names)) {}
    int GetCount() override { return static_cast<int>(names_.size()); }
    ZALNameServerEntry* GetItem(int index) override
    {
        return index >= 1 && index <= GetCount() ? new UsedName(names_[static_cast<std::size_t>(index - 1)]) : nullptr;
    }

private:
    std::vector<std::string> names_;
};

class NameServer : public ProductFacet<ZALNameServer> {
public:
    using ProductFacet::ProductFacet;
    ZALNameServerEntries* GetEntries() override
    {
        LoadedDocument* document = Product().Owner();
        if (!document || !document->Workspace())
            return nullptr;
        return new UsedNames(document->Workspace()->DisputedPartNumbers(*document));
    }
};

class NameServerInterface : public ProductFacet<ZALINameServerAccess> {
public:
    using ProductFacet::ProductFacet;
    ZALNameServer* GetNameServer() override { return new NameServer(Product()); }
};

/// Names are those of reference products: an instance has none of its own.
ZALBaseUnknown* OfferAlias(ZALBaseUnknown* product)
{
    return static_cast<WorkspaceProduct*>(product)->IsRoot() ? Offer<AliasInterface, WorkspaceProduct>(product)
                                                             : nullptr;
}

const ZALFillDictionary Aliases("WorkspaceProduct", "ZALIAlias", OfferAlias, 0);
const ZALFillDictionary Displays("WorkspaceProduct", "ZALI3DGeoVisu", Offer<DisplayInterface, WorkspaceProduct>, 0);
const ZALFillDictionary Occurrences("WorkspaceOccurrence", "ZALIProduct",
                                    Offer<OccurrenceInterface, WorkspaceOccurrence>, 0);
const ZALFillDictionary MovableOccurrences("WorkspaceOccurrence", "ZALIMovable",
                                           Offer<MovableInterface, ZALBaseUnknown>, 0);
const ZALFillDictionary Movables("WorkspaceProduct", "ZALIMovable", Offer<MovableInterface, ZALBaseUnknown>, 0);
const ZALFillDictionary Products("WorkspaceProduct", "ZALIProduct", Offer<ProductInterface, WorkspaceProduct>, 0);
const ZALFillDictionary Ghosts("WorkspaceProduct", "ZALIPrdGhost", Offer<GhostInterface, WorkspaceProduct>, 0);
const ZALFillDictionary ComponentsAsOne("WorkspaceProduct", "ZALIAProduct", Offer<ComponentInterface, WorkspaceProduct>,
                                        0);
const ZALFillDictionary Components("WorkspaceProduct", "ZALIAProducts", Offer<ComponentsInterface, WorkspaceProduct>,
                                   0);
const ZALFillDictionary NameServers("WorkspaceProduct", "ZALINameServerAccess",
                                    Offer<NameServerInterface, WorkspaceProduct>, 0);

} // namespace

} // namespace openhost
