// CAD services and a writer of light files whose objects, interfaces and results a test sets.
#pragma once

#include "openhost/cad/CadServices.h"

#include "host/visualization.h"

#include <array>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace openhost::testing {

class ScriptedCad;
class ScriptedWorkspaceDocument;

/// Names of interfaces; looking one up takes no memory.
using Interfaces = std::set<std::string, std::less<>>;

/// A feature, a product, a parameter or another object of a document. It offers the interfaces that are named in
/// `offers`, with the members below as their answers; set them at will. Objects belong to the workspace.
class ScriptedObject : public ZALBaseUnknown {
public:
    /// The interfaces of a product, without those of a ghost and an alias.
    static const Interfaces OfProduct;

    ScriptedObject(ScriptedCad& workspace, ScriptedWorkspaceDocument* document, std::string name, Interfaces offers);
    ~ScriptedObject() override;

    void Offer(const char* interfaceName, bool offered = true);

    const std::string name;
    Interfaces offers;
    ScriptedWorkspaceDocument* document; ///< null when GetDocumentOf gives none

    // Features and containers

    ScriptedObject* part = nullptr;                  ///< ZALIPrtContainer
    ScriptedObject* mainTool = nullptr;              ///< ZALIPrtPart
    std::vector<ScriptedObject*> tools;              ///< ZALIPrtPart
    ScriptedObject* shape = nullptr;                 ///< ZALIMechanicalTool
    ScriptedObject* result = nullptr;                ///< ZALIShapeFeatureBody
    ScriptedObject* features = nullptr;              ///< ZALISpecObject: the container
    std::optional<std::string> updateError;          ///< ZALISpecObject: thrown
    std::vector<std::optional<std::string>> formats; ///< ZALICutAndPastable; nothing stands for a null one
    ScriptedObject* extracted = nullptr;             ///< ZALICutAndPastable
    std::vector<ScriptedObject*> contents;           ///< ZALICutAndPastable: all that it holds

    // Properties and parameters

    std::array<std::string, 3> texts;        ///< ZALIPrdProperties: part number, nomenclature, description
    std::array<HRESULT, 3> writeResults{};   ///< ZALIPrdProperties
    ScriptedObject* publisher = nullptr;     ///< ZALIPrdProperties
    ScriptedObject* newPublisher = nullptr;  ///< ZALIPrdProperties: what is made when there is none
    std::vector<ScriptedObject*> parameters; ///< ZALIParmPublisher
    bool hasType = true;                     ///< ZALICkeParm
    bool isText = true;                      ///< ZALICkeParm
    std::optional<std::string> value;        ///< ZALICkeParm
    std::set<std::string> refusedNames;      ///< ZALICkeParmFactory: of parameters that it does not make

    // Products

    ScriptedObject* father = nullptr;                         ///< ZALIProduct
    ScriptedObject* reference = nullptr;                      ///< ZALIProduct
    bool isReference = false;                                 ///< ZALIProduct
    bool isOfPart = false;                                    ///< ZALIProduct
    bool loaded = true;                                       ///< ZALIPrdGhost
    std::string alias;                                        ///< ZALIAlias
    bool hasRepresentation = true;                            ///< ZALI3DGeoVisu
    bool hasNameServer = true;                                ///< ZALINameServerAccess
    bool hasEntries = true;                                   ///< ZALINameServerAccess
    std::vector<std::optional<std::string>> names;            ///< ZALINameServerAccess; nothing stands for a null entry
    ScriptedObject* representation = nullptr;                 ///< ZALIProduct
    std::optional<std::vector<ScriptedObject*>> children;     ///< ZALIProduct; a null one stands for a null handle
    ZALMathTransformation position;                           ///< ZALIMovable
    HRESULT addResult = S_OK;                                 ///< ZALIAProducts
    HRESULT replaceResult = S_OK;                             ///< ZALIAProducts
    bool givesReplacement = true;                             ///< ZALIAProducts
    bool givesInstance = true;                                ///< ZALIAProducts
    Interfaces instanceOffers{"ZALIAProduct", "ZALIMovable"}; ///< ZALIAProducts: of new instances
    std::vector<ScriptedObject*> instances;                   ///< those that were added

    ScriptedCad& Workspace() const { return workspace_; }
    ZALRep& Display() const { return *display_.Get(); }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    ScriptedCad& workspace_;
    ZALInterfaceHandle<ZALRep> display_;
};

/// A document that can be opened. It belongs to the workspace.
class ScriptedWorkspaceDocument : public ZALDocument {
public:
    ScriptedWorkspaceDocument(ScriptedCad& workspace, std::filesystem::path path, std::string name);
    ~ScriptedWorkspaceDocument() override;

    const std::string name;
    std::filesystem::path path; ///< a save changes it
    bool offersInit = true;     ///< ZALInit
    bool offersCameras = true;  ///< ZALIPersistentCamera
    bool hasStore = true;       ///< ZALIPersistentCamera
    HRESULT openResult = S_OK;
    bool isGiven = true; ///< otherwise Open gives null
    HRESULT saveResult = S_OK;
    bool leavesFile = true; ///< whether a save writes the file, however it ends
    ScriptedObject* container = nullptr;
    ScriptedObject* root = nullptr; ///< root product

    // Of documents that AddPart has made.
    ScriptedObject* part = nullptr;
    ScriptedObject* mainTool = nullptr;
    ScriptedObject* features = nullptr; ///< container of the features

    int opens = 0; ///< that are not ended
    int locks = 0;

    HRESULT AddRefForLock() override;
    HRESULT ReleaseForLock(int mode) override;
    ZALUnicodeString StorageName() override;
    ScriptedCad& Workspace() const { return workspace_; }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    ScriptedCad& workspace_;
};

/// A workspace without documents but those of the test. It outlives every object that it gave.
class ScriptedCad {
public:
    /// Lets the host use this workspace; with the end of the object it has none. Calls name files below `folder` by
    /// what follows it.
    explicit ScriptedCad(std::filesystem::path folder = "/");
    ScriptedCad(const ScriptedCad&) = delete;
    ScriptedCad& operator=(const ScriptedCad&) = delete;
    ~ScriptedCad();

    /// A document that Open gives for `path`. Several may have one path: the first that has not been saved elsewhere is
    /// given. Without content.
    ScriptedWorkspaceDocument& AddDocument(const std::filesystem::path& path, const std::string& name);
    /// A part as templates are: a part "NAME.part" whose main tool "NAME.main" is empty, a container "NAME.features", a
    /// root product "NAME.root" with the parameters of a publisher "NAME.publisher". All interfaces are there.
    ScriptedWorkspaceDocument& AddPart(const std::filesystem::path& path, const std::string& name);
    /// A part with a shape "NAME.shape" in the main tool, and its result "NAME.result".
    ScriptedWorkspaceDocument& AddSolidPart(const std::filesystem::path& path, const std::string& name);
    /// A product without children: its root product "NAME.root" with a publisher.
    ScriptedWorkspaceDocument& AddProduct(const std::filesystem::path& path, const std::string& name);
    /// An instance of `part` in the list of `product`, shifted to (x, 0, 0).
    ScriptedObject& AddChild(ScriptedWorkspaceDocument& product, ScriptedWorkspaceDocument& part,
                             const std::string& name, double x);
    /// A tool of `part` beside its main tool.
    ScriptedObject& AddTool(ScriptedWorkspaceDocument& part, const std::string& name);
    /// A text parameter of the root product of `document`.
    ScriptedObject& AddParameter(ScriptedWorkspaceDocument& document, const std::string& name,
                                 const std::string& value);
    ScriptedObject& AddObject(ScriptedWorkspaceDocument* document, const std::string& name, Interfaces offers = {});
    /// A product of no document.
    ScriptedObject& MakeProduct(const std::string& name);

    // Automation

    bool offersApplication = true;
    bool hasDocuments = true;
    bool givesDocument = true;
    std::function<void(const ZALVariant& files, ZALBSTR method)> onAdd; ///< called inside AddComponentsFromFiles
    std::function<void()> onFind;                                       ///< called as a loaded document is looked for
    std::map<std::string, ScriptedObject*> loaded; ///< root product by path of the documents in the workspace, or null

    // Light files

    int lightFileResult = 0; ///< of writing one; otherwise than 0 nothing is written
    std::string lightFileContent = "light";

    /// Opens that are not ended, and locks that are not released.
    int OpenDocuments() const;
    int Locks() const;
    /// References on documents and objects beyond the workspace's own, and objects that were given and not released.
    int LivingObjects() const;

    /// The calls in order, but not the search for loaded documents. Each begins with a word for the operation and the
    /// name of its object; the tests show them all.
    std::vector<std::string> calls;
    std::function<void(const std::string& call)> OnCall; ///< called inside each call
    /// By the word: what operations answer that have no result of their own in the objects. What they give, they give
    /// all the same.
    std::map<std::string, HRESULT> answers;
    /// Those that begin with one of `words`.
    std::vector<std::string> CallsOf(const std::set<std::string>& words) const;

    /// `path` as the calls name it.
    std::string Label(const std::filesystem::path& path) const;

    /// Notes a call and gives its answer.
    HRESULT Call(const std::string& call);
    HRESULT AnswerTo(const std::string& word) const;

    int facets = 0;                ///< interfaces and services that were given and not released; they count themselves
    std::vector<const char*> ends; ///< names of those that have been released, in order, up to 64

private:
    class Services;
    std::filesystem::path folder_;
    std::deque<ScriptedWorkspaceDocument*> documents_;
    std::deque<ScriptedObject*> objects_;
};

/// The path to `leaf`, with the fathers in front of it. The caller owns one reference.
ZALPathElement* PathTo(ScriptedObject& leaf);

} // namespace openhost::testing
