// A product of the workspace: the root of a document, or an instance of a document in another one.
#pragma once

#include "host/cad.h"
#include "host/visualization.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/objects/Owned.h"

#include <string>

namespace openhost {

class LoadedDocument;
class ProductRep;

/// What all interfaces of a product stand on; a query gives them. Changed by CadWorkspace alone. One that is kept
/// beyond its document has no owner and no reference any more.
class WorkspaceProduct : public ZALBaseUnknown {
public:
    /// The root of `document`, named by its part number.
    explicit WorkspaceProduct(LoadedDocument& document);
    /// An instance of `reference`, which is null when it is missing, in `owner`.
    WorkspaceProduct(LoadedDocument& owner, LoadedDocument* reference, std::string name, const Placement& placement);
    ~WorkspaceProduct() override;

    /// Unlike the names of the other components of the father; of a root the part number.
    const std::string& Name() const { return name_; }
    /// Relative to the father; the identity for a root.
    const Placement& GetPlacement() const { return placement_; }
    bool IsRoot() const { return isRoot_; }
    /// The document that the product stands in.
    LoadedDocument* Owner() const { return owner_; }
    /// The document that the product refers to, of a root its own; null when it is missing.
    LoadedDocument* Reference() const { return reference_; }
    /// Of an instance without reference: the link as its document has it, and what is wrong with it.
    const std::string& Link() const { return link_; }
    const std::string& Problem() const { return problem_; }
    /// What the display shows of the product, or null. The same one until the product or something below it changes.
    ZALRep* GiveRep();

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    friend class CadWorkspace;
    void Detach();

    LoadedDocument* owner_;
    LoadedDocument* reference_;
    std::string name_;
    Placement placement_;
    bool isRoot_;
    std::string link_;
    std::string problem_;
    Owned<ProductRep> rep_; ///< the one given last
};

} // namespace openhost
