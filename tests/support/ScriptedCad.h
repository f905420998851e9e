// CAD services whose objects, interfaces and results a test sets.
#pragma once

#include "openhost/cad/CadServices.h"

#include "host/visualization.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace openhost::testing {

class ScriptedCad;

/// A product that offers what the test lets it offer. The test holds one reference; set members at will.
class ScriptedProduct : public ZALBaseUnknown {
public:
    ScriptedProduct(ScriptedCad& cad, std::string name);
    ~ScriptedProduct() override;

    // Interfaces

    bool offersProduct = true;    ///< ZALIProduct
    bool offersGhost = false;     ///< ZALIPrdGhost
    bool offersComponent = true;  ///< ZALIAProduct
    bool offersComponents = true; ///< ZALIAProducts
    bool offersNameServer = true; ///< ZALINameServerAccess
    bool offersAlias = false;     ///< ZALIAlias
    bool offersDisplay = true;    ///< ZALI3DGeoVisu

    // Results. The products stay the test's.

    ScriptedProduct* father = nullptr;
    ScriptedProduct* reference = nullptr;
    std::string partNumber;
    bool isReference = false;
    bool loaded = true;
    bool isOfPart = false;
    HRESULT addResult = S_OK;
    HRESULT replaceResult = S_OK;
    bool givesReplacement = true;
    bool hasNameServer = true;
    bool hasEntries = true;
    std::string alias;
    bool hasRepresentation = true;
    std::vector<std::optional<std::string>> names; ///< of the entries; nothing stands for a null entry

    const std::string& Name() const { return name_; }
    ZALRep& Representation() const { return *representation_; }
    ScriptedCad& Cad() const { return cad_; }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    ScriptedCad& cad_;
    std::string name_;
    ZALRep* representation_;
};

/// Services without a workspace. They outlive every object that they gave.
class ScriptedCad {
public:
    /// Lets the host use these services; with the end of the object it has none.
    ScriptedCad();
    ScriptedCad(const ScriptedCad&) = delete;
    ScriptedCad& operator=(const ScriptedCad&) = delete;
    ~ScriptedCad();

    bool offersApplication = true;
    bool hasDocuments = true;
    HRESULT openResult = S_OK;
    std::function<void(const ZALVariant& files, ZALBSTR method)> onAdd; ///< called inside AddComponentsFromFiles
    std::function<void()> onOpen;                                       ///< called inside Open
    std::function<void()> onFind;                                       ///< called as a loaded document is looked for
    HRESULT findResult = S_OK; ///< of looking for a loaded document, which is given all the same
    bool givesDocument = true;
    int lightFileResult = 0; ///< of writing a light file; otherwise than 0 nothing is written
    std::string lightFileContent = "light";
    std::map<std::string, ScriptedProduct*> loaded; ///< root product by path of the documents in the workspace, or null

    /// The calls of automation and the reads of names in order, such as "Open /a.ZALPart",
    /// "Add to NAME: /a.ZALPart, method *", "Replace NAME in NAME: /a.ZALPart, all", "GetEntries of NAME" and
    /// "Write light file /a.lvr".
    std::vector<std::string> calls;
    /// Objects that were given and not released.
    int livingObjects = 0;
    std::vector<const char*> ends; ///< names of those that have been released, in order, up to 64
};

/// The path to `leaf`, with the fathers in front of it. The caller owns one reference.
ZALPathElement* PathTo(ScriptedProduct& leaf);

} // namespace openhost::testing
