#include "openhost/cad/FeatureContainer.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/SolidKernel.h"
#include "openhost/objects/MetaClassOperations.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace openhost {

OPENHOST_META_CLASS(FeatureContainer, ZALBaseUnknown)

namespace {

/// `name`, or with a number after it when a tool of `part` has that name.
std::string FreeToolName(const PartFeature& part, const std::string& name)
{
    const auto isTaken = [&](const std::string& wanted) {
        return std::ranges::any_of(part.Children(), [&](const auto& tool) { return tool->Name() == wanted; });
    };
    std::string free = name;
    for (std::size_t number = 2; isTaken(free); ++number)
        free = name + "." + std::to_string(number);
    return free;
}

SolidCopy CopyGeometry(const PartFeature& result)
{
    try {
        return SolidKernel::Current().Copy(*result.Geometry());
    } catch (const SolidKernelError& error) {
        throw SolidKernelError(result.Name() + ": the geometry cannot be copied: " + error.what());
    }
}

} // namespace

FeatureContainer::FeatureContainer(LoadedDocument* document) : document_(document) {}

FeatureContainer::~FeatureContainer()
{
    for (const auto& feature : features_)
        feature->SetContainer(nullptr);
}

bool FeatureContainer::HoldsFeatures() const
{
    return !document_ || document_->Kind() == DocumentKind::Part;
}

PartFeature* FeatureContainer::Part() const
{
    const auto part =
        std::ranges::find(features_, FeatureKind::Part, [](const auto& feature) { return feature->Kind(); });
    return part != features_.end() ? part->get() : nullptr;
}

PartFeature& FeatureContainer::Append(FeatureKind kind, const std::string& name)
{
    features_.emplace_back(new PartFeature(kind, name));
    features_.back()->SetContainer(this);
    return *features_.back();
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
    std::vector<PartFeature*> results;
    for (const auto& feature : features_)
        feature->CollectResults(results);
    return results;
}

Owned<FeatureContainer> FeatureContainer::Extract(const std::vector<PartFeature*>& results) const
{
    if (document_ && !results.empty() && results.front()->IsMain())
        document_->Workspace()->ExpectCopies(*document_);
    Owned<FeatureContainer> extracted(new FeatureContainer(nullptr));
    for (const PartFeature* result : results) {
        if (result->Kind() != FeatureKind::Result || result->Container() != this)
            throw CadWorkspaceError(result->Name() + ": only results of the container can be extracted");
        extracted->Append(FeatureKind::Result, result->Name()).SetGeometry(result->Geometry());
    }
    return extracted;
}

/// A result that is ready for its target: a tool, or a part, which gets a new tool for it.
struct FeatureContainer::PreparedResult {
    PartFeature* target;
    std::string name;
    SolidCopy copy;

    bool NeedsTool() const { return target->Kind() == FeatureKind::Part; }
};

std::vector<FeatureContainer::PreparedResult>
FeatureContainer::PreparePaste(const std::vector<PartFeature*>& results, const std::vector<PartFeature*>& targets) const
{
    std::vector<PreparedResult> prepared;
    for (PartFeature* target : targets) {
        if (target->Container() != this)
            continue;
        bool isFull = target->Child() || std::ranges::find(prepared, target, &PreparedResult::target) != prepared.end();
        for (const PartFeature* result : results) {
            if (result->Kind() != FeatureKind::Result || !result->Container() || result->Container()->Document())
                throw CadWorkspaceError(result->Name() + ": only what is extracted can be pasted");
            if (target->Kind() != FeatureKind::Part && (target->Kind() != FeatureKind::Tool || isFull))
                continue;
            prepared.push_back({target, result->Name(), CopyGeometry(*result)});
            isFull = true;
        }
    }
    return prepared;
}

std::vector<PartFeature*> FeatureContainer::Paste(const std::vector<PartFeature*>& results,
                                                  const std::vector<PartFeature*>& targets)
{
    if (!document_ || !Part())
        throw CadWorkspaceError("results can be pasted into the container of a part only");
    std::vector<PreparedResult> prepared = PreparePaste(results, targets);
    const auto newTools = static_cast<std::size_t>(std::ranges::count_if(prepared, &PreparedResult::NeedsTool));
    if (Part()->Children().size() + newTools > MaximumOtherTools + 1)
        throw CadWorkspaceError(Part()->Name() + ": the part would have too many tools");

    if (prepared.empty())
        return {};

    document_->Workspace()->KeepFeatures(*document_, "Paste");
    std::vector<PartFeature*> copies;
    for (PreparedResult& result : prepared) {
        PartFeature& target = *result.target;
        PartFeature& tool =
            result.NeedsTool() ? target.Append(FeatureKind::Tool, FreeToolName(target, result.name)) : target;
        copies.push_back(&tool.AppendResult(result.name));
        copies.back()->SetGeometry(std::make_shared<const DocumentGeometry>(std::move(result.copy.geometry)),
                                   std::move(result.copy.fault));
    }
    document_->Workspace()->Change(*document_, "Paste", [](CadDocument&) {});
    return copies;
}

void FeatureContainer::SetWorkingTool(const PartFeature& tool)
{
    if (tool.Kind() != FeatureKind::Tool || tool.Container() != this || !document_)
        throw CadWorkspaceError(tool.Name() + ": only a tool of the part can be worked in");
    const auto& tools = tool.Father()->Children();
    const auto position =
        static_cast<std::uint32_t>(std::ranges::find(tools, &tool, &Owned<PartFeature>::get) - tools.begin());
    if (position != document_->Contents().features.workingTool)
        document_->Workspace()->Change(*document_, "Change Working Body",
                                       [&](CadDocument& contents) { contents.features.workingTool = position; });
}

} // namespace openhost
