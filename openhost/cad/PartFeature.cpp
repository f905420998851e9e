#include "openhost/cad/PartFeature.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/LoadedDocument.h"
#include "openhost/cad/SolidKernel.h"
#include "openhost/objects/MetaClassOperations.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(PartFeature, ZALBaseUnknown)

PartFeature::PartFeature(FeatureKind kind, std::string name) : kind_(kind), name_(std::move(name)) {}

PartFeature::~PartFeature()
{
    for (const auto& child : children_)
        child->father_ = nullptr;
}

FeatureContainer* PartFeature::Container() const
{
    const PartFeature* root = this;
    while (root->father_)
        root = root->father_;
    return root->container_;
}

PartFeature& PartFeature::Append(FeatureKind kind, const std::string& name)
{
    children_.emplace_back(new PartFeature(kind, name));
    children_.back()->father_ = this;
    return *children_.back();
}

PartFeature& PartFeature::AppendResult(const std::string& name)
{
    return Append(FeatureKind::Shape, name).Append(FeatureKind::Result, name);
}

void PartFeature::CollectResults(std::vector<PartFeature*>& results)
{
    if (kind_ == FeatureKind::Result)
        results.push_back(this);
    for (const auto& child : children_)
        child->CollectResults(results);
}

bool PartFeature::IsMain() const
{
    const PartFeature* tool = father_ ? father_->father_ : nullptr;
    return kind_ == FeatureKind::Result && tool && tool->father_ && tool->father_->Child() == tool;
}

std::shared_ptr<const DocumentGeometry> PartFeature::Geometry() const
{
    if (geometry_)
        return geometry_;
    const FeatureContainer* container = Container();
    const LoadedDocument* document = container ? container->Document() : nullptr;
    if (!document)
        throw CadWorkspaceError(name_ + ": the document of the result is not loaded");
    std::optional<DocumentGeometry> stored = ReadToolGeometry(document->Path(), storedTool_);
    if (!stored)
        throw CadWorkspaceError(document->Path().string() + ": the geometry of " + name_ + " is gone");
    return std::make_shared<const DocumentGeometry>(std::move(*stored));
}

void PartFeature::SetGeometry(std::shared_ptr<const DocumentGeometry> geometry, std::optional<std::string> fault)
{
    geometry_ = std::move(geometry);
    fault_ = std::move(fault);
}

void PartFeature::SetStored(std::size_t tool)
{
    SetGeometry(nullptr);
    storedTool_ = tool;
}

FeatureState PartFeature::State()
{
    FeatureState state{Share(this), geometry_, storedTool_, {}};
    for (const auto& child : children_)
        state.children.push_back(child->State());
    return state;
}

void PartFeature::PutBack(const FeatureState& state)
{
    SetGeometry(state.geometry);
    storedTool_ = state.storedTool;
    for (const auto& child : children_)
        child->father_ = nullptr;
    children_.clear();
    for (const FeatureState& child : state.children) {
        children_.push_back(Share(child.feature.get()));
        children_.back()->father_ = this;
        children_.back()->PutBack(child);
    }
}

void FeatureState::KeepGeometry(const std::filesystem::path& path, Geometries& read)
{
    for (FeatureState& child : children)
        child.KeepGeometry(path, read);
    if (feature->Kind() != FeatureKind::Result || geometry)
        return;
    std::shared_ptr<const DocumentGeometry>& known = read[storedTool];
    if (!known)
        if (std::optional<DocumentGeometry> stored = ReadToolGeometry(path, storedTool))
            known = std::make_shared<const DocumentGeometry>(std::move(*stored));
    geometry = known;
}

void PartFeature::Update()
{
    std::vector<PartFeature*> results;
    CollectResults(results);
    for (const PartFeature* result : results)
        if (!result->fault_)
            SolidKernel::Current().Check(*result->Geometry());
        else if (!result->fault_->empty())
            throw SolidKernelError(*result->fault_);
}

} // namespace openhost
