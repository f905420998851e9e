// The features of a part in the workspace: the part, its tools, the shape feature of a tool, the result of that.
#pragma once

#include "host/part_features.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/objects/Owned.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace openhost {

class FeatureContainer;
struct FeatureState;

enum class FeatureKind {
    Part,   ///< holds tools, the main tool first
    Tool,   ///< holds a shape, or nothing
    Shape,  ///< holds a result
    Result, ///< carries the solids
};

/// What all interfaces of a feature stand on; a query gives them. One that is kept beyond its container has no father
/// and no container any more. Throws CadWorkspaceError, CompoundFileError or SolidKernelError.
class PartFeature : public ZALBaseUnknown {
public:
    PartFeature(FeatureKind kind, std::string name);
    ~PartFeature() override;

    FeatureKind Kind() const { return kind_; }
    const std::string& Name() const { return name_; }
    PartFeature* Father() const { return father_; }
    const std::vector<Owned<PartFeature>>& Children() const { return children_; }
    /// The first of them, or null.
    PartFeature* Child() const { return children_.empty() ? nullptr : children_.front().get(); }
    /// The container that the feature stands in, or null.
    FeatureContainer* Container() const;
    /// Adds a feature below this one, as its last child.
    PartFeature& Append(FeatureKind kind, const std::string& name);
    /// Of a tool: adds a shape with a result, both under `name`. Gives the result.
    PartFeature& AppendResult(const std::string& name);
    /// The container that holds this feature, which has no father.
    void SetContainer(FeatureContainer* container) { container_ = container; }
    /// The results in this feature, itself included, in the order of the part.
    void CollectResults(std::vector<PartFeature*>& results);

    /// Whether this is the result of the main tool of a part.
    bool IsMain() const;
    /// Of a result: its solids, read from the file of its document as long as nothing has changed them.
    std::shared_ptr<const DocumentGeometry> Geometry() const;
    /// `fault` is why the solids are refused, and empty when they are sound; without it an update has them checked.
    void SetGeometry(std::shared_ptr<const DocumentGeometry> geometry, std::optional<std::string> fault = {});
    /// The solids of the result are those of the tool `tool` in the file of the document.
    void SetStored(std::size_t tool);

    /// What stands in this feature, itself included, and the same put back: the same objects again.
    FeatureState State();
    void PutBack(const FeatureState& state);

    /// Checks the results in this feature. Throws for one that is not a valid solid.
    void Update();

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    FeatureKind kind_;
    std::string name_;
    PartFeature* father_ = nullptr;
    FeatureContainer* container_ = nullptr; ///< of a feature without father
    std::vector<Owned<PartFeature>> children_;
    std::shared_ptr<const DocumentGeometry> geometry_;
    std::optional<std::string> fault_; ///< of `geometry_`, once it is known
    std::size_t storedTool_ = 0;
};

/// A feature and what stands in it, as it was at one time.
struct FeatureState {
    /// Read from a file, by tool.
    using Geometries = std::map<std::size_t, std::shared_ptr<const DocumentGeometry>>;

    Owned<PartFeature> feature;
    std::shared_ptr<const DocumentGeometry> geometry; ///< null as long as the file holds that of a result
    std::size_t storedTool;
    std::vector<FeatureState> children;

    /// Takes what stands in the file `path` over, since it may be gone there soon. `read` has what was read before.
    void KeepGeometry(const std::filesystem::path& path, Geometries& read);
};

} // namespace openhost
