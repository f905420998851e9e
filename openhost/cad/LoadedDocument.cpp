#include "openhost/cad/LoadedDocument.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/text/Utf.h"

#include <utility>

namespace openhost {

OPENHOST_META_CLASS(LoadedDocument, ZALBaseUnknown)

LoadedDocument::LoadedDocument(CadWorkspace& workspace, std::filesystem::path path, CadDocument contents)
    : workspace_(&workspace), path_(std::move(path)), contents_(std::move(contents)), root_(new WorkspaceProduct(*this))
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
        return features_.get();
    features_.reset(new FeatureContainer(this));
    if (Kind() == DocumentKind::Product)
        return features_.get();
    PartFeature& part = features_->Append(FeatureKind::Part, PartNumber());
    for (std::size_t number = 0; number < stored_.size(); ++number) {
        const PartFeatures& features = contents_.features;
        const std::string& name = number == 0 ? features.mainTool : features.otherTools[number - 1].name;
        PartFeature& tool = part.Append(FeatureKind::Tool, name);
        if (stored_[number])
            tool.AppendResult(name).SetStored(number);
    }
    return features_.get();
}

void LoadedDocument::EndFeatures()
{
    if (!features_)
        return;
    features_->Detach();
    features_.reset();
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
