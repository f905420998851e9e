// A document that the workspace has loaded.
#pragma once

#include "host/cad.h"
#include "openhost/cad/WorkspaceProduct.h"
#include "openhost/documents/CadDocument.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace openhost {

class CadWorkspace;
class FeatureContainer;

/// Changed by CadWorkspace alone. Geometry stays in the file until somebody asks a feature for it.
class LoadedDocument : public ZALDocument {
public:
    LoadedDocument(CadWorkspace& workspace, std::filesystem::path path, CadDocument contents);
    ~LoadedDocument() override;

    /// The workspace that has the document loaded; null once it has let go of it.
    CadWorkspace* Workspace() const { return workspace_; }
    const std::filesystem::path& Path() const { return path_; }
    DocumentKind Kind() const { return contents_.kind; }
    const std::string& PartNumber() const { return contents_.partNumber; }
    /// Whether the file holds geometry of the main tool.
    bool HasGeometry() const { return stored_.front(); }
    /// Everything but what stands in children, links and features.
    const CadDocument& Contents() const { return contents_; }
    /// The root container; null once the workspace has let go of the document.
    FeatureContainer* Features();
    /// Whether the document differs from its file.
    bool IsDirty() const { return dirty_; }
    /// Whether the document has a window of its own; otherwise programs or others that refer to it hold it.
    bool IsOpen() const { return open_; }
    /// Null once the workspace has let go of the document.
    WorkspaceProduct* Root() const { return root_.get(); }
    /// In the order of the file.
    const std::vector<Owned<WorkspaceProduct>>& Children() const { return children_; }
    /// Links of the file that no child uses.
    const std::vector<std::string>& LooseLinks() const { return looseLinks_; }
    /// The documents that refer to this one, and those that this one refers to, with the number of instances each.
    const std::unordered_map<LoadedDocument*, std::size_t>& Fathers() const { return fathers_; }
    const std::unordered_map<LoadedDocument*, std::size_t>& References() const { return references_; }

    HRESULT AddRefForLock() override;
    HRESULT ReleaseForLock(int mode) override;
    ZALUnicodeString StorageName() override;

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    friend class CadWorkspace;
    static constexpr std::uint64_t UnknownState = ~std::uint64_t{0};
    void EndFeatures();

    CadWorkspace* workspace_;
    std::filesystem::path path_;
    std::vector<bool> stored_;         ///< which tools have geometry in the file, the main tool first
    CadDocument contents_;             ///< without children, links and geometry, which stand below or in the file
    Owned<FeatureContainer> features_; ///< made when somebody asks for it
    bool dirty_ = false;
    std::uint64_t state_ = 0;      ///< number of the state that the document is in
    std::uint64_t savedState_ = 0; ///< of the one that the file holds
    bool open_ = false;
    unsigned int opens_ = 0; ///< by programs, that none of them has ended
    unsigned int locks_ = 0;
    bool isExpected_ = false; ///< the solid kernel has been told that this document is copied
    Owned<WorkspaceProduct> root_;
    std::vector<Owned<WorkspaceProduct>> children_;
    std::vector<std::string> looseLinks_;
    std::unordered_set<std::string> childNames_;
    std::unordered_map<std::string, unsigned int> nextNumber_; ///< of new children, by the name before it
    std::unordered_map<LoadedDocument*, std::size_t> fathers_;
    std::unordered_map<LoadedDocument*, std::size_t> references_;
};

} // namespace openhost
