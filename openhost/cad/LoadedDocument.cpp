#include "openhost/cad/LoadedDocument.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/text/Utf.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(LoadedDocument, ZALBaseUnknown)

LoadedDocument::LoadedDocument(CadWorkspace& workspace, std::filesystem::path path, CadDocument contents)
    : workspace_(&workspace), path_(std::move(path)), contents_(std::move(contents)),
      root_(new WorkspaceProduct(*this, this, contents_.partNumber, IdentityPlacement, true))
{
    stored_.push_back(contents_.geometry.has_value());
    contents_.geometry.reset();
    for (PartTool& tool : contents_.features.otherTools) {
        stored_.push_back(tool.geometry.has_value());
        tool.geometry.reset();
    }
}

LoadedDocument::~LoadedDocument()
{
    EndFeatures();
}

FeatureContainer* LoadedDocument::Features()
{
    if (features_ || !workspace_)
        return features_;
    features_ = new FeatureContainer(this);
    if (Kind() == DocumentKind::Product)
        return features_;
    auto* part = new PartFeature(FeatureKind::Part, PartNumber());
    features_->Append(part);
    for (std::size_t number = 0; number < stored_.size(); ++number) {
        const PartFeatures& features = contents_.features;
        const std::string& name = number == 0 ? features.mainTool : features.otherTools[number - 1].name;
        auto* tool = new PartFeature(FeatureKind::Tool, name);
        part->Append(tool);
        if (!stored_[number])
            continue;
        auto* shape = new PartFeature(FeatureKind::Shape, name);
        tool->Append(shape);
        auto* result = new PartFeature(FeatureKind::Result, name);
        shape->Append(result);
        result->SetStored(number);
    }
    return features_;
}

void LoadedDocument::EndFeatures()
{
    if (!features_)
        return;
    features_->Detach();
    std::exchange(features_, nullptr)->Release();
}

HRESULT LoadedDocument::AddRefForLock()
{
    ++locks_;
    return S_OK;
}

HRESULT LoadedDocument::ReleaseForLock(int)
{
    if (locks_ == 0)
        return E_FAIL;
    --locks_;
    if (workspace_)
        workspace_->UnloadUnused(*this);
    return S_OK;
}

ZALUnicodeString LoadedDocument::StorageName()
{
    return FromUtf8(path_.string());
}

} // namespace openhost
