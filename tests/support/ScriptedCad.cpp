#include "tests/support/ScriptedCad.h"

#include "host/parameters.h"
#include "host/part_features.h"
#include "openhost/cad/Automation.h"
#include "openhost/cad/LvrWriter.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/text/Utf.h"
#include "tests/support/Objects.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <utility>

namespace openhost::testing {

OPENHOST_META_CLASS(ScriptedObject, ZALBaseUnknown)
OPENHOST_META_CLASS(ScriptedWorkspaceDocument, ZALBaseUnknown)

ScriptedObject::ScriptedObject(ScriptedCad& workspace, ScriptedWorkspaceDocument* home, std::string title,
                               Interfaces interfaces)
    : name(std::move(title)), offers(std::move(interfaces)), document(home), workspace_(workspace),
      display_(ZALInterfaceHandle<ZALRep>::Take(new ZALRep))
{
}

const Interfaces ScriptedObject::OfProduct = {"ZALIProduct", "ZALIAProduct", "ZALIAProducts", "ZALINameServerAccess",
                                              "ZALI3DGeoVisu"};

void ScriptedObject::Offer(const char* interfaceName, bool offered)
{
    if (offered)
        offers.insert(interfaceName);
    else
        offers.erase(interfaceName);
}

ScriptedObject::~ScriptedObject() = default;

ScriptedWorkspaceDocument::ScriptedWorkspaceDocument(ScriptedCad& workspace, std::filesystem::path file,
                                                     std::string title)
    : name(std::move(title)), path(std::move(file)), workspace_(workspace)
{
}

ScriptedWorkspaceDocument::~ScriptedWorkspaceDocument() = default;

HRESULT ScriptedWorkspaceDocument::AddRefForLock()
{
    ++locks;
    return workspace_.Call("Lock " + name);
}

HRESULT ScriptedWorkspaceDocument::ReleaseForLock(int mode)
{
    --locks;
    return workspace_.Call("Unlock " + name + " " + std::to_string(mode));
}

ZALUnicodeString ScriptedWorkspaceDocument::StorageName()
{
    return FromUtf8(path.string());
}

namespace {

/// What is given to the module, counted until its end.
template <class Interface>
class Counted : public Interface {
public:
    explicit Counted(ScriptedCad& cad, const char* name = Interface::ClassName()) : cad_(cad), name_(name)
    {
        ++cad_.facets;
    }
    ~Counted() override
    {
        --cad_.facets;
        if (cad_.ends.size() < cad_.ends.capacity()) // an end takes no memory
            cad_.ends.push_back(name_);
    }

protected:
    ScriptedCad& Cad() const { return cad_; }

private:
    ScriptedCad& cad_;
    const char* name_;
};

/// An interface of an object, which it holds.
template <class Interface, class Object = ScriptedObject>
class Facet : public Counted<Interface> {
public:
    explicit Facet(Object& object) : Counted<Interface>(object.Workspace()), object_(object) { object_.AddRef(); }
    ~Facet() override { object_.Release(); }
    ZALBaseUnknown* GetImpl(int level) override { return level == 0 ? &object_ : nullptr; }

protected:
    Object& Self() const { return object_; }
    HRESULT Note(const std::string& call) const { return object_.Workspace().Call(call); }

private:
    Object& object_;
};

ZALBaseUnknown_var HandleOf(ZALBaseUnknown* object)
{
    return ZALBaseUnknown_var(object);
}

std::string NameOf(ZALBaseUnknown* object)
{
    auto* scripted = object ? dynamic_cast<ScriptedObject*>(object->GetImpl(0)) : nullptr;
    return scripted ? scripted->name : "nothing";
}

template <class List>
std::string NamesOf(const List& list)
{
    std::string names;
    for (int index = 1; index <= list.Size(); ++index)
        names += (index > 1 ? " " : "") + NameOf(list[index].Get());
    return names.empty() ? "nothing" : names;
}

/// A format that knows its place in the list of its container.
class PlacedFormat : public ZALFormat {
public:
    PlacedFormat(const std::string& name, std::size_t place) : ZALFormat(name.c_str()), place_(place) {}
    std::size_t Place() const { return place_; }

private:
    std::size_t place_; ///< from 1
};

/// The name, and the place unless that is the first.
std::string FormatOf(const ZALFormat_var& format)
{
    if (!format)
        return "no format";
    const std::string name = format->GetName().CastToCharPtr();
    const std::size_t place = dynamic_cast<PlacedFormat&>(*format.Get()).Place();
    return place > 1 ? name + " at " + std::to_string(place) : name;
}

std::string Numbers(int first, int second)
{
    return ", " + std::to_string(first) + ", " + std::to_string(second);
}

// ---------------------------------------------------------------------------------------------
// Features and containers

class PartContainer : public Facet<ZALIPrtContainer> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetPart() override { return HandleOf(Self().part); }
};

class Part : public Facet<ZALIPrtPart> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetMainTool() override { return HandleOf(Self().mainTool); }
    HRESULT GetTools(ZALListValZALBaseUnknown_var& tools) override
    {
        for (ScriptedObject* tool : Self().tools)
            tools.Append(HandleOf(tool));
        return Note("Tools " + Self().name);
    }
};

class Tool : public Facet<ZALIMechanicalTool> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetShapeFeature() override { return HandleOf(Self().shape); }
};

class Body : public Facet<ZALIShapeFeatureBody> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetResult() override { return HandleOf(Self().result); }
};

/// An error that says when it is flushed.
class NotedError : public ZALError {
public:
    NotedError(ScriptedCad& workspace, const std::string& text) : ZALError(text.c_str()), workspace_(workspace) {}
    void Flush() override { workspace_.Call(std::string("Flush ") + GetText().CastToCharPtr()); }

private:
    ScriptedCad& workspace_;
};

class Feature : public Facet<ZALISpecObject> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetFeatContainer() override { return HandleOf(Self().features); }
    void Update() override
    {
        Note("Update " + Self().name);
        if (Self().updateError)
            throw NotedError(Self().Workspace(), *Self().updateError);
    }
};

class Way : public Facet<ZALIPathAccess> {
public:
    using Facet::Facet;
    ZALPathElement_var GetPathElement() override
    {
        auto path = ZALPathElement_var::Take(new ZALPathElement);
        path->AddChildElement(&Self());
        return path;
    }
};

class Management : public Facet<ZALIPrtManagement> {
public:
    using Facet::Facet;
    HRESULT SetWorkingFeature(const ZALBaseUnknown_var& feature) override
    {
        return Note("Work " + Self().name + ": " + NameOf(feature.Get()));
    }
};

class CopyContainer : public Facet<ZALICutAndPastable> {
public:
    using Facet::Facet;

    HRESULT CollectBoundary(ZALListValZALBaseUnknown_var& boundary, const ZALListValZALBaseUnknown_var* objects,
                            const ZALFormat_var& format) override
    {
        const HRESULT answer = Note("Collect " + Self().name + ": " + (objects ? NamesOf(*objects) : "all") + ", " +
                                    FormatOf(format) + (boundary.Size() == 0 ? "" : ", not empty"));
        if (!objects) {
            for (ScriptedObject* object : Self().contents)
                boundary.Append(HandleOf(object));
            return answer;
        }
        for (int index = 1; index <= objects->Size(); ++index)
            boundary.Append(
                HandleOf(&Self().Workspace().AddObject(nullptr, "boundary(" + NameOf((*objects)[index].Get()) + ")")));
        return answer;
    }

    ZALBaseUnknown_var Extract(const ZALListValZALBaseUnknown_var& boundary, const ZALFormat_var& format) override
    {
        Note("Extract " + Self().name + ": " + NamesOf(boundary) + ", " + FormatOf(format));
        return HandleOf(Self().extracted);
    }

    HRESULT FindFormats(ZALHandleList<ZALFormat>& formats) override
    {
        std::size_t place = 0;
        for (const std::optional<std::string>& format : Self().formats) {
            ++place;
            formats.Append(format ? ZALFormat_var::Take(new PlacedFormat(*format, place)) : ZALFormat_var());
        }
        return Note("Formats " + Self().name);
    }

    ZALListValZALBaseUnknown_var Paste(const ZALListValZALBaseUnknown_var& objects,
                                       const ZALHandleList<ZALPathElement>& targets,
                                       const ZALFormat_var& format) override
    {
        std::string leaves;
        for (int index = 1; index <= targets.Size(); ++index) {
            targets[index]->InitToLeafElement();
            leaves += " below " + NameOf(targets[index]->GetNextFatherObject());
        }
        Note("Paste " + Self().name + ": " + NamesOf(objects) + leaves + ", " + FormatOf(format));
        return objects;
    }
};

// ---------------------------------------------------------------------------------------------
// Properties and parameters

class ParameterType : public Facet<ZALICkeType> {
public:
    using Facet::Facet;
    bool IsText() override { return Self().isText; }
};

class ParameterValue : public Facet<ZALICkeInst> {
public:
    using Facet::Facet;
    ZALUnicodeString GetText() override { return FromUtf8(*Self().value); }
};

class Parameter : public Facet<ZALICkeParm> {
public:
    using Facet::Facet;
    ZALUnicodeString GetName() override { return FromUtf8(Self().name); }
    ZALICkeType_var GetType() override
    {
        return Self().hasType ? ZALICkeType_var::Take(new ParameterType(Self())) : ZALICkeType_var();
    }
    ZALICkeInst_var GetValue() override
    {
        return Self().value ? ZALICkeInst_var::Take(new ParameterValue(Self())) : ZALICkeInst_var();
    }
};

class Factory : public Facet<ZALICkeParmFactory> {
public:
    using Facet::Facet;
    ZALICkeParm_var CreateString(const ZALUnicodeString& name, const ZALUnicodeString& value) override
    {
        Note("Create " + ToUtf8(name) + " = " + ToUtf8(value) + " in " + Self().name);
        if (Self().refusedNames.contains(ToUtf8(name)))
            return ZALICkeParm_var();
        ScriptedObject& created = Self().Workspace().AddObject(Self().document, ToUtf8(name), {"ZALICkeParm"});
        created.value = ToUtf8(value);
        return ZALICkeParm_var(&created);
    }
};

class Publisher : public Facet<ZALIParmPublisher> {
public:
    using Facet::Facet;
    HRESULT GetDirectChildren(const char* className, ZALListValZALBaseUnknown_var& children) override
    {
        for (ScriptedObject* parameter : Self().parameters)
            children.Append(HandleOf(parameter));
        return Note("Children " + Self().name + ": " + className);
    }
    HRESULT Append(const ZALBaseUnknown_var& child) override
    {
        const HRESULT answer = Note("Append " + Self().name + ": " + NameOf(child.Get()));
        if (!child)
            return E_INVALIDARG;
        Self().parameters.push_back(static_cast<ScriptedObject*>(child->GetImpl(0)));
        return answer;
    }
};

class Properties : public Facet<ZALIPrdProperties> {
public:
    using Facet::Facet;
    HRESULT GetPartNumber(ZALUnicodeString& value) override { return Read(0, value); }
    HRESULT SetPartNumber(const ZALUnicodeString& value) override { return Write(0, value); }
    HRESULT GetNomenclature(ZALUnicodeString& value) override { return Read(1, value); }
    HRESULT SetNomenclature(const ZALUnicodeString& value) override { return Write(1, value); }
    HRESULT GetDescription(ZALUnicodeString& value) override { return Read(2, value); }
    HRESULT SetDescription(const ZALUnicodeString& value) override { return Write(2, value); }

    ZALIParmPublisher_var GetUserProperties(int creation) override
    {
        Note("Publisher " + Self().name + " " + std::to_string(creation));
        if (!Self().publisher && creation == ZALPublisherCreate)
            Self().publisher = Self().newPublisher;
        return ZALIParmPublisher_var(Self().publisher);
    }

private:
    HRESULT Read(std::size_t text, ZALUnicodeString& value)
    {
        value = FromUtf8(Self().texts[text]);
        return Note("Read " + Self().name + " " + std::to_string(text));
    }
    HRESULT Write(std::size_t text, const ZALUnicodeString& value)
    {
        Note("Write " + Self().name + " " + std::to_string(text) + " = " + ToUtf8(value));
        Self().texts[text] = ToUtf8(value);
        return Self().writeResults[text];
    }
};

// ---------------------------------------------------------------------------------------------
// Products

class Product : public Facet<ZALIProduct> {
public:
    using Facet::Facet;
    ZALIProduct* GetReferenceProduct() override { return Give(Self().reference); }
    ZALIProduct* GetFatherProduct() override { return Give(Self().father); }
    bool IsReferenceProduct() override { return Self().isReference; }
    HRESULT GetPartNumber(ZALUnicodeString& partNumber) override
    {
        partNumber = FromUtf8(Self().texts[0]);
        return S_OK;
    }
    HRESULT GetChildren(const char* interfaceName, ZALListValZALBaseUnknown_var& children) override
    {
        const HRESULT answer = Note("Children " + Self().name + ": " + interfaceName);
        if (!Self().children)
            return E_FAIL;
        for (ScriptedObject* child : *Self().children)
            children.Append(HandleOf(child));
        return answer;
    }
    ZALBaseUnknown* GetShapeRepresentation(const ZALUnicodeString& name, int index, int deep, int load) override
    {
        Note("Shape " + Self().name + ": " + ToUtf8(name) + ", " + std::to_string(index) + Numbers(deep, load));
        if (Self().representation)
            Self().representation->AddRef();
        return Self().representation;
    }

private:
    static ZALIProduct* Give(ScriptedObject* product) { return product ? new Product(*product) : nullptr; }
};

class Ghost : public Facet<ZALIPrdGhost> {
public:
    using Facet::Facet;
    bool IsLoaded() override { return Self().loaded; }
};

class Alias : public Facet<ZALIAlias> {
public:
    using Facet::Facet;
    ZALUnicodeString GetAlias() override { return FromUtf8(Self().alias); }
};

class Display : public Facet<ZALI3DGeoVisu> {
public:
    using Facet::Facet;
    ZALRep* GiveRep() override { return Self().hasRepresentation ? &Self().Display() : nullptr; }
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

class NameEntries : public Facet<ZALNameServerEntries> {
public:
    using Facet::Facet;
    int GetCount() override { return static_cast<int>(Self().names.size()); }
    ZALNameServerEntry* GetItem(int index) override
    {
        Note("GetItem " + std::to_string(index));
        const std::optional<std::string>& name = Self().names.at(static_cast<std::size_t>(index - 1));
        return name ? new Entry(Cad(), *name) : nullptr;
    }
};

class NameServer : public Facet<ZALNameServer> {
public:
    using Facet::Facet;
    ZALNameServerEntries* GetEntries() override
    {
        Note("GetEntries of " + Self().name);
        return Self().hasEntries ? new NameEntries(Self()) : nullptr;
    }
};

class NameServerAccess : public Facet<ZALINameServerAccess> {
public:
    using Facet::Facet;
    ZALNameServer* GetNameServer() override { return Self().hasNameServer ? new NameServer(Self()) : nullptr; }
};

class Movable : public Facet<ZALIMovable> {
public:
    using Facet::Facet;
    HRESULT GetPosition(ZALMathTransformation& position, ZALIMovable* reference, int context, int absolute) override
    {
        position = Self().position;
        return Note("Where " + Self().name + " in " + NameOf(reference) + Numbers(context, absolute));
    }
    HRESULT SetPosition(const ZALMathTransformation& position, ZALIMovable* reference, int context,
                        int absolute) override
    {
        std::ostringstream shift;
        shift << position.Shift[0];
        Self().position = position;
        return Note("Place " + Self().name + " in " + NameOf(reference) + " at " + shift.str() +
                    Numbers(context, absolute));
    }
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
        std::string call = "Add to " + Self().name + ":";
        for (const ZALUnicodeString& file : TextsOf(files))
            call += " " + ToUtf8(file);
        Note(call + ", method " + ToUtf8(FromBSTR(method)));
        if (Cad().onAdd)
            Cad().onAdd(files, method);
        return Self().addResult;
    }
    HRESULT AddComponent(ZALIAProduct* reference, ZALIAProduct** instance) override
    {
        const std::string added = NameOf(reference);
        Note("Add " + Self().name + ": " + added);
        *instance = nullptr;
        if (!Self().givesInstance)
            return Self().addResult;
        const std::string name = added + "." + std::to_string(Self().instances.size() + 1);
        Self().instances.push_back(&Self().Workspace().AddObject(Self().document, name, Self().instanceOffers));
        *instance = new Component(*Self().instances.back());
        return Self().addResult;
    }
    HRESULT ReplaceComponent(ZALIAProduct* component, ZALBSTR file, ZALVariantBool allInstances,
                             ZALIAProduct** replacement) override
    {
        auto* replaced = component ? static_cast<ScriptedObject*>(component->GetImpl(0)) : nullptr;
        // True has all of its 16 bits set.
        const std::string which = allInstances == -1 ? "all" : allInstances == 0 ? "one" : std::to_string(allInstances);
        Note("Replace " + NameOf(component) + " in " + Self().name + ": " + ToUtf8(FromBSTR(file)) + ", " + which);
        *replacement = replaced && Self().givesReplacement ? new Component(*replaced) : nullptr;
        return Self().replaceResult;
    }
};

template <class Interface>
ZALBaseUnknown* Offer(ZALBaseUnknown* object)
{
    auto& scripted = static_cast<ScriptedObject&>(*object);
    return scripted.offers.contains(Interface::ClassName()) ? new Interface(scripted) : nullptr;
}

const ZALFillDictionary Entries[] = {
    {"ScriptedObject", "ZALIPrtContainer", Offer<PartContainer>, 0},
    {"ScriptedObject", "ZALIPrtPart", Offer<Part>, 0},
    {"ScriptedObject", "ZALIMechanicalTool", Offer<Tool>, 0},
    {"ScriptedObject", "ZALIShapeFeatureBody", Offer<Body>, 0},
    {"ScriptedObject", "ZALISpecObject", Offer<Feature>, 0},
    {"ScriptedObject", "ZALIPathAccess", Offer<Way>, 0},
    {"ScriptedObject", "ZALIPrtManagement", Offer<Management>, 0},
    {"ScriptedObject", "ZALICutAndPastable", Offer<CopyContainer>, 0},
    {"ScriptedObject", "ZALICkeParm", Offer<Parameter>, 0},
    {"ScriptedObject", "ZALICkeParmFactory", Offer<Factory>, 0},
    {"ScriptedObject", "ZALIParmPublisher", Offer<Publisher>, 0},
    {"ScriptedObject", "ZALIPrdProperties", Offer<Properties>, 0},
    {"ScriptedObject", "ZALIProduct", Offer<Product>, 0},
    {"ScriptedObject", "ZALIMovable", Offer<Movable>, 0},
    {"ScriptedObject", "ZALIAProduct", Offer<Component>, 0},
    {"ScriptedObject", "ZALIAProducts", Offer<Components>, 0},
    {"ScriptedObject", "ZALIPrdGhost", Offer<Ghost>, 0},
    {"ScriptedObject", "ZALINameServerAccess", Offer<NameServerAccess>, 0},
    {"ScriptedObject", "ZALIAlias", Offer<Alias>, 0},
    {"ScriptedObject", "ZALI3DGeoVisu", Offer<Display>, 0},
};

// ---------------------------------------------------------------------------------------------
// Documents

class Init : public Facet<ZALInit, ScriptedWorkspaceDocument> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetRootContainer(const char* interfaceName) override
    {
        Note("Container " + Self().name + ": " + interfaceName);
        return HandleOf(Self().container);
    }
};

class Cameras : public Facet<ZALCameraStore, ScriptedWorkspaceDocument> {
public:
    using Facet::Facet;
    HRESULT TakeCameras(ZALCameraStore& other) override
    {
        return Note("Cameras " + Self().name + ": " + dynamic_cast<Cameras&>(other).Self().name);
    }
};

class CameraAccess : public Facet<ZALIPersistentCamera, ScriptedWorkspaceDocument> {
public:
    using Facet::Facet;
    ZALCameraStore_var GetCameraStore() override
    {
        return Self().hasStore ? ZALCameraStore_var::Take(new Cameras(Self())) : ZALCameraStore_var();
    }
};

template <class Interface, bool ScriptedWorkspaceDocument::*offered>
ZALBaseUnknown* OfferOfDocument(ZALBaseUnknown* object)
{
    auto& document = static_cast<ScriptedWorkspaceDocument&>(*object);
    return document.*offered ? new Interface(document) : nullptr;
}

const ZALFillDictionary Inits("ScriptedWorkspaceDocument", "ZALInit",
                              OfferOfDocument<Init, &ScriptedWorkspaceDocument::offersInit>, 0);
const ZALFillDictionary CameraAccesses("ScriptedWorkspaceDocument", "ZALIPersistentCamera",
                                       OfferOfDocument<CameraAccess, &ScriptedWorkspaceDocument::offersCameras>, 0);

/// A document that was in the workspace before.
class LoadedDocument : public Counted<ZALDocument> {
public:
    LoadedDocument(ScriptedCad& cad, ScriptedObject* root) : Counted(cad), root_(root) {}
    ScriptedObject* Root() const { return root_; }
    HRESULT AddRefForLock() override { return E_FAIL; }
    HRESULT ReleaseForLock(int) override { return E_FAIL; }
    ZALUnicodeString StorageName() override { return {}; }

private:
    ScriptedObject* root_;
};

// ---------------------------------------------------------------------------------------------
// Automation and light files

class OpenedDocument : public Counted<ZALIADocument> {
public:
    explicit OpenedDocument(ScriptedCad& cad) : Counted(cad, "ZALIADocument") {}
};

class OpenDocuments : public Counted<ZALIADocuments> {
public:
    explicit OpenDocuments(ScriptedCad& cad) : Counted(cad, "ZALIADocuments") {}
    HRESULT Open(ZALBSTR path, ZALIADocument** document) override
    {
        const HRESULT answer = Cad().Call("Open " + ToUtf8(FromBSTR(path)));
        *document = Cad().givesDocument ? new OpenedDocument(Cad()) : nullptr;
        return answer;
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

class LightFiles : public LvrWriter {
public:
    explicit LightFiles(ScriptedCad& cad) : cad_(cad) {}
    int Write(const ZALRep&, const std::string& path) override
    {
        cad_.Call("Write light file " + path);
        if (cad_.lightFileResult == 0)
            std::ofstream(path, std::ios::binary) << cad_.lightFileContent;
        return cad_.lightFileResult;
    }

private:
    ScriptedCad& cad_;
};

} // namespace

// ---------------------------------------------------------------------------------------------
// The workspace

class ScriptedCad::Services : public CadServices {
public:
    explicit Services(ScriptedCad& workspace) : workspace_(workspace) {}

    ZALIAApplication* GetApplication() override
    {
        return workspace_.offersApplication ? new Application(workspace_) : nullptr;
    }
    HRESULT FindDocument(const ZALUnicodeString& path, ZALDocument*& document) override
    {
        if (workspace_.onFind)
            workspace_.onFind();
        const auto found = workspace_.loaded.find(ToUtf8(path));
        if (found == workspace_.loaded.end())
            return E_FAIL;
        document = new LoadedDocument(workspace_, found->second);
        return workspace_.AnswerTo("Find");
    }
    ZALBaseUnknown* GetRootProduct(ZALDocument& document) override
    {
        const auto* file = dynamic_cast<LoadedDocument*>(&document);
        ScriptedObject* root = file ? file->Root() : RootOf(static_cast<ScriptedWorkspaceDocument&>(document));
        if (root)
            root->AddRef();
        return root;
    }
    bool IsOfPart(ZALIProduct& product) override { return static_cast<ScriptedObject*>(product.GetImpl(0))->isOfPart; }

    HRESULT OpenDocument(const ZALUnicodeString& path, ZALDocument*& document, int mode) override
    {
        workspace_.Call("Open " + workspace_.Label(ToUtf8(path)) + ", " + std::to_string(mode));
        const auto found = std::ranges::find(workspace_.documents_, std::filesystem::path(ToUtf8(path)),
                                             &ScriptedWorkspaceDocument::path);
        if (found == workspace_.documents_.end())
            return E_FAIL;
        // Also on failure: the module is not to use it then.
        document = (*found)->isGiven ? *found : nullptr;
        if (SUCCEEDED((*found)->openResult) && document)
            ++(*found)->opens;
        return (*found)->openResult;
    }
    HRESULT SaveDocumentAs(ZALDocument& document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                           int mode) override
    {
        return Save("SaveAs", document, path, ", \"" + ToUtf8(format) + "\", " + std::to_string(mode));
    }
    HRESULT SaveDocumentAsNew(ZALDocument& document, const ZALUnicodeString& path, int mode) override
    {
        return Save("SaveAsNew", document, path, ", " + std::to_string(mode));
    }
    HRESULT RemoveDocument(ZALDocument& document, int mode) override
    {
        auto& removed = static_cast<ScriptedWorkspaceDocument&>(document);
        --removed.opens;
        return workspace_.Call("Remove " + removed.name + " " + std::to_string(mode));
    }
    ZALDocument* DocumentOf(ZALBaseUnknown& object) override
    {
        return static_cast<ScriptedObject*>(object.GetImpl(0))->document;
    }

private:
    ScriptedObject* RootOf(ScriptedWorkspaceDocument& document)
    {
        workspace_.Call("Root " + document.name);
        return document.root;
    }
    HRESULT Save(const std::string& operation, ZALDocument& document, const ZALUnicodeString& path,
                 const std::string& arguments)
    {
        auto& saved = static_cast<ScriptedWorkspaceDocument&>(document);
        const std::filesystem::path file = ToUtf8(path);
        workspace_.Call(operation + " " + saved.name + " to " + workspace_.Label(file) + arguments);
        if (saved.leavesFile)
            std::ofstream(file) << saved.name;
        if (SUCCEEDED(saved.saveResult))
            saved.path = file;
        return saved.saveResult;
    }

    ScriptedCad& workspace_;
};

ScriptedCad::ScriptedCad(std::filesystem::path folder) : folder_(std::move(folder))
{
    ends.reserve(64);
    CadServices::Install(std::make_unique<Services>(*this));
    LvrWriter::Install(std::make_unique<LightFiles>(*this));
}

ScriptedCad::~ScriptedCad()
{
    LvrWriter::Install(nullptr);
    CadServices::Install(nullptr);
    for (ScriptedWorkspaceDocument* document : documents_)
        document->Release();
    for (ScriptedObject* object : objects_)
        object->Release();
}

ScriptedWorkspaceDocument& ScriptedCad::AddDocument(const std::filesystem::path& path, const std::string& name)
{
    documents_.push_back(new ScriptedWorkspaceDocument(*this, path, name));
    return *documents_.back();
}

ScriptedObject& ScriptedCad::AddObject(ScriptedWorkspaceDocument* document, const std::string& name, Interfaces offers)
{
    auto* const object = new ScriptedObject(*this, document, name, std::move(offers));
    const Owned<ScriptedObject> madeByNew(object);
    objects_.push_back(object);
    object->AddRef(); // the one of the list
    return *object;
}

ScriptedObject& ScriptedCad::MakeProduct(const std::string& name)
{
    return AddObject(nullptr, name, ScriptedObject::OfProduct);
}

ScriptedWorkspaceDocument& ScriptedCad::AddProduct(const std::filesystem::path& path, const std::string& name)
{
    ScriptedWorkspaceDocument& document = AddDocument(path, name);
    document.features = &AddObject(&document, name + ".features", {"ZALICutAndPastable", "ZALICkeParmFactory"});
    document.features->formats = {"ZALPrtResultWithOutLink"};
    document.root = &AddObject(
        &document, name + ".root",
        {"ZALIProduct", "ZALIPrdProperties", "ZALISpecObject", "ZALIAProduct", "ZALIAProducts", "ZALIMovable"});
    document.root->features = document.features;
    document.root->publisher = &AddObject(&document, name + ".publisher", {"ZALIParmPublisher"});
    document.root->children.emplace();
    return document;
}

ScriptedWorkspaceDocument& ScriptedCad::AddPart(const std::filesystem::path& path, const std::string& name)
{
    ScriptedWorkspaceDocument& document = AddProduct(path, name);
    document.root->children.reset();
    document.container = &AddObject(&document, name + ".container", {"ZALIPrtContainer"});
    document.part =
        &AddObject(&document, name + ".part", {"ZALIPrtPart", "ZALISpecObject", "ZALIPathAccess", "ZALIPrtManagement"});
    document.container->part = document.part;
    document.mainTool = &AddTool(document, name + ".main");
    document.part->mainTool = document.mainTool;
    return document;
}

ScriptedWorkspaceDocument& ScriptedCad::AddSolidPart(const std::filesystem::path& path, const std::string& name)
{
    ScriptedWorkspaceDocument& document = AddPart(path, name);
    document.mainTool->shape = &AddObject(&document, name + ".shape", {"ZALIShapeFeatureBody"});
    document.mainTool->shape->result = &AddObject(&document, name + ".result", {"ZALISpecObject"});
    document.mainTool->shape->result->features = document.features;
    document.features->extracted = &AddObject(nullptr, name + ".extracted", {"ZALICutAndPastable"});
    document.features->extracted->contents = {&AddObject(nullptr, name + ".copy")};
    return document;
}

ScriptedObject& ScriptedCad::AddTool(ScriptedWorkspaceDocument& part, const std::string& name)
{
    ScriptedObject& tool = AddObject(&part, name, {"ZALIMechanicalTool", "ZALISpecObject", "ZALIPathAccess"});
    tool.features = part.features;
    part.part->tools.push_back(&tool);
    return tool;
}

ScriptedObject& ScriptedCad::AddChild(ScriptedWorkspaceDocument& product, ScriptedWorkspaceDocument& part,
                                      const std::string& name, double x)
{
    ScriptedObject& child = AddObject(&product, name, {"ZALIProduct", "ZALIMovable"});
    child.reference = part.root;
    child.representation = part.part;
    child.position.Shift[0] = x;
    product.root->children->push_back(&child);
    return child;
}

ScriptedObject& ScriptedCad::AddParameter(ScriptedWorkspaceDocument& document, const std::string& name,
                                          const std::string& value)
{
    ScriptedObject& parameter = AddObject(&document, name, {"ZALICkeParm"});
    parameter.value = value;
    document.root->publisher->parameters.push_back(&parameter);
    return parameter;
}

int ScriptedCad::OpenDocuments() const
{
    int count = 0;
    for (const ScriptedWorkspaceDocument* document : documents_)
        count += document->opens;
    return count;
}

int ScriptedCad::Locks() const
{
    int count = 0;
    for (const ScriptedWorkspaceDocument* document : documents_)
        count += document->locks;
    return count;
}

int ScriptedCad::LivingObjects() const
{
    const auto beyondOwn = [](ZALBaseUnknown* object) {
        object->AddRef();
        return static_cast<int>(object->Release()) - 1;
    };
    int count = facets;
    for (ScriptedWorkspaceDocument* document : documents_)
        count += beyondOwn(document);
    for (ScriptedObject* object : objects_)
        count += beyondOwn(object);
    return count;
}

HRESULT ScriptedCad::Call(const std::string& call)
{
    calls.push_back(call);
    if (OnCall)
        OnCall(call);
    return AnswerTo(call.substr(0, call.find(' ')));
}

HRESULT ScriptedCad::AnswerTo(const std::string& word) const
{
    const auto answer = answers.find(word);
    return answer == answers.end() ? S_OK : answer->second;
}

std::vector<std::string> ScriptedCad::CallsOf(const std::set<std::string>& words) const
{
    std::vector<std::string> found;
    for (const std::string& call : calls)
        if (words.contains(call.substr(0, call.find(' '))))
            found.push_back(call);
    return found;
}

std::string ScriptedCad::Label(const std::filesystem::path& path) const
{
    const std::string below = path.lexically_relative(folder_).string();
    return below.starts_with("..") ? path.string() : below;
}

ZALPathElement* PathTo(ScriptedObject& leaf)
{
    std::vector<ScriptedObject*> way;
    for (ScriptedObject* product = &leaf; product; product = product->father)
        way.push_back(product);
    auto* path = new ZALPathElement;
    for (auto product = way.rbegin(); product != way.rend(); ++product)
        path->AddChildElement(*product);
    return path;
}

} // namespace openhost::testing
