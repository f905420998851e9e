#include "openhost/cad/FeatureContainer.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/SolidKernel.h"
#include "openhost/objects/MetaClassOperations.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace openhost {

OPENHOST_META_CLASS(FeatureContainer, ZALBaseUnknown)

namespace {

/// A result that is ready for a tool or, with `inNewTool`, for a part.
struct PreparedResult {
    PartFeature* target;
    bool inNewTool;
    std::string name;
    std::shared_ptr<const DocumentGeometry> geometry;
};

/// `name`, or with a number behind it when a tool of `part` has that name.
std::string FreeToolName(const PartFeature& part, const std::string& name)
{
    const auto isTaken = [&](const std::string& wanted) {
        return std::ranges::any_of(part.Children(), [&](const PartFeature* tool) { return tool->Name() == wanted; });
    };
    std::string free = name;
    for (std::size_t number = 2; isTaken(free); ++number)
        free = name + "." + std::to_string(number);
    return free;
}

PartFeature* AppendResult(PartFeature& tool, const std::string& name, std::shared_ptr<const DocumentGeometry> geometry)
{
    auto* shape = new PartFeature(FeatureKind::Shape, name);
    auto* result = new PartFeature(FeatureKind::Result, name);
    result->SetGeometry(std::move(geometry));
    shape->Append(result);
    tool.Append(shape);
    return result;
}

std::shared_ptr<const DocumentGeometry> CopyGeometry(const PartFeature& result)
{
    SolidKernel& kernel = SolidKernel::Current();
    try {
        return std::make_shared<const DocumentGeometry>(kernel.Copy(*result.Geometry()));
    } catch (const SolidKernelError& error) {
        throw SolidKernelError(result.Name() + ": the geometry cannot be copied: " + error.what());
    }
}

} // namespace

FeatureContainer::FeatureContainer(LoadedDocument* document) : document_(document) {}

FeatureContainer::~FeatureContainer()
{
    for (PartFeature* feature : features_) {
        feature->container_ = nullptr;
        feature->Release();
    }
}

bool FeatureContainer::HoldsFeatures() const
{
    return !document_ || document_->Kind() == DocumentKind::Part;
}

PartFeature* FeatureContainer::Part() const
{
    const auto part =
        std::ranges::find_if(features_, [](const PartFeature* f) { return f->Kind() == FeatureKind::Part; });
    return part != features_.end() ? *part : nullptr;
}

void FeatureContainer::Append(PartFeature* feature)
{
    feature->container_ = this;
    features_.push_back(feature);
}

std::vector<PartFeature*> FeatureContainer::FindResults(const std::vector<PartFeature*>& features) const
{
    std::vector<PartFeature*> found;
    for (PartFeature* feature : features) {
        if (feature->Container() != this)
            throw CadWorkspaceError(feature->Name() + ": the feature stands in another container");
        std::vector<PartFeature*> results;
        feature->CollectResults(results);
        std::ranges::copy_if(results, std::back_inserter(found),
                             [&](PartFeature* result) { return std::ranges::find(found, result) == found.end(); });
    }
    return found;
}

std::vector<PartFeature*> FeatureContainer::AllResults() const
{
    return FindResults(features_);
}

FeatureContainer* FeatureContainer::Extract(const std::vector<PartFeature*>& results) const
{
    auto extracted = ZALInterfaceHandle<FeatureContainer>::Take(new FeatureContainer(nullptr));
    for (const PartFeature* result : results) {
        if (result->Kind() != FeatureKind::Result || result->Container() != this)
            throw CadWorkspaceError(result->Name() + ": only results of the container can be extracted");
        auto* copy = new PartFeature(FeatureKind::Result, result->Name());
        extracted->Append(copy);
        copy->SetGeometry(result->Geometry());
    }
    extracted->AddRef();
    return extracted.Get();
}

std::vector<PartFeature*> FeatureContainer::Paste(const std::vector<PartFeature*>& results,
                                                  const std::vector<PartFeature*>& targets)
{
    if (!document_ || !Part())
        throw CadWorkspaceError("results can be pasted into the container of a part only");
    std::vector<PreparedResult> prepared;
    std::size_t newTools = 0;
    for (PartFeature* target : targets) {
        if (target->Container() != this)
            continue;
        bool isFull = target->Child() || std::ranges::find(prepared, target, &PreparedResult::target) != prepared.end();
        for (const PartFeature* result : results) {
            if (result->Kind() != FeatureKind::Result || !result->Container() || result->Container()->Document())
                throw CadWorkspaceError(result->Name() + ": only what is extracted can be pasted");
            const bool inNewTool = target->Kind() == FeatureKind::Part;
            if (!inNewTool && (target->Kind() != FeatureKind::Tool || isFull))
                continue;
            prepared.push_back({target, inNewTool, result->Name(), CopyGeometry(*result)});
            isFull = true;
            newTools += inNewTool ? 1 : 0;
        }
    }
    if (Part()->Children().size() + newTools > MaximumOtherTools + 1)
        throw CadWorkspaceError(Part()->Name() + ": the part would have too many tools");

    std::vector<PartFeature*> copies;
    for (PreparedResult& result : prepared) {
        PartFeature* tool = result.target;
        if (result.inNewTool) {
            tool = new PartFeature(FeatureKind::Tool, FreeToolName(*result.target, result.name));
            result.target->Append(tool);
        }
        copies.push_back(AppendResult(*tool, result.name, std::move(result.geometry)));
    }
    if (!copies.empty())
        document_->Workspace()->Change(*document_, [](CadDocument&) {});
    return copies;
}

void FeatureContainer::SetWorkingTool(const PartFeature& tool)
{
    if (tool.Kind() != FeatureKind::Tool || tool.Container() != this || !document_)
        throw CadWorkspaceError(tool.Name() + ": only a tool of the part can be worked in");
    const auto& tools = tool.Father()->Children();
    const auto position = static_cast<std::uint32_t>(std::ranges::find(tools, &tool) - tools.begin());
    if (position != document_->Contents().features.workingTool)
        document_->Workspace()->Change(*document_,
                                       [&](CadDocument& contents) { contents.features.workingTool = position; });
}

} // namespace openhost
