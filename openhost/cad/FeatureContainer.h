// What features stand in: the root container of a document, or one that stands in no document and holds copies.
#pragma once

#include "openhost/cad/PartFeature.h"

#include <vector>

namespace openhost {

class LoadedDocument;

/// Operations throw CadWorkspaceError, CompoundFileError or SolidKernelError and then change nothing.
class FeatureContainer : public ZALBaseUnknown {
public:
    /// An empty container; `document` is null for one that stands in none.
    explicit FeatureContainer(LoadedDocument* document);
    ~FeatureContainer() override;

    /// Null for a container that stands in no document, and for one whose document is not loaded any more.
    LoadedDocument* Document() const { return document_; }
    void Detach() { document_ = nullptr; }
    /// Whether features can be copied from and to this container.
    bool HoldsFeatures() const;
    /// The part feature, or null.
    PartFeature* Part() const;
    /// Adds a feature without father.
    PartFeature& Append(FeatureKind kind, const std::string& name);

    /// The results in `features`, each once, in their order.
    std::vector<PartFeature*> FindResults(const std::vector<PartFeature*>& features) const;
    std::vector<PartFeature*> AllResults() const;
    /// A container with copies of `results`, in no document.
    Owned<FeatureContainer> Extract(const std::vector<PartFeature*>& results) const;
    /// Copies `results`, which stand in a container without document, into each of `targets`: parts and tools of this
    /// container. Gives the copies.
    std::vector<PartFeature*> Paste(const std::vector<PartFeature*>& results, const std::vector<PartFeature*>& targets);
    /// Makes `tool` the one that the user works in.
    void SetWorkingTool(const PartFeature& tool);

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    struct PreparedResult;
    std::vector<PreparedResult> PreparePaste(const std::vector<PartFeature*>& results,
                                             const std::vector<PartFeature*>& targets) const;

    LoadedDocument* document_;
    std::vector<Owned<PartFeature>> features_; ///< without father
};

} // namespace openhost
