// What documents, containers and features offer by query.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/Facet.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/Guard.h"

#include <string>
#include <vector>

namespace openhost {

namespace {

/// The feature behind `object`, or null.
PartFeature* FeatureOf(ZALBaseUnknown* object)
{
    return object ? dynamic_cast<PartFeature*>(object->GetImpl(0)) : nullptr;
}

/// The features behind `objects`. Throws for anything else.
std::vector<PartFeature*> FeaturesOf(const ZALListValZALBaseUnknown_var& objects)
{
    std::vector<PartFeature*> features;
    for (int index = 1; index <= objects.Size(); ++index) {
        features.push_back(FeatureOf(objects[index].Get()));
        if (!features.back())
            throw CadWorkspaceError("the object is not a feature of the workspace");
    }
    return features;
}

// ---------------------------------------------------------------------------------------------
// Documents

class InitInterface : public Facet<ZALInit, LoadedDocument> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetRootContainer(const char* interfaceName) override
    {
        FeatureContainer* container = Target().Features();
        ZALBaseUnknown* found = nullptr;
        if (!container || FAILED(container->QueryInterface(interfaceName, &found)))
            return {};
        return ZALBaseUnknown_var::Take(found);
    }
};

class CameraStore : public Facet<ZALCameraStore, LoadedDocument> {
public:
    using Facet::Facet;
    HRESULT TakeCameras(ZALCameraStore& other) override
    {
        auto* source = dynamic_cast<CameraStore*>(&other);
        if (!source || !Target().Workspace())
            return E_FAIL;
        const std::vector<DocumentCamera> cameras = source->Target().Contents().cameras;
        Target().Workspace()->Change(Target(), "Take Views",
                                     [&](CadDocument& contents) { contents.cameras = cameras; });
        return S_OK;
    }
};

/// A document without cameras has no store: one that takes them over keeps its own then.
class CameraInterface : public Facet<ZALIPersistentCamera, LoadedDocument> {
public:
    using Facet::Facet;
    ZALCameraStore_var GetCameraStore() override
    {
        return Target().Contents().cameras.empty() ? ZALCameraStore_var()
                                                   : ZALCameraStore_var::Take(new CameraStore(Target()));
    }
};

// ---------------------------------------------------------------------------------------------
// Containers

class ContainerInterface : public Facet<ZALIPrtContainer, FeatureContainer> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetPart() override { return ZALBaseUnknown_var(Target().Part()); }
};

class CopyInterface : public Facet<ZALICutAndPastable, FeatureContainer> {
public:
    using Facet::Facet;

    HRESULT CollectBoundary(ZALListValZALBaseUnknown_var& boundary, const ZALListValZALBaseUnknown_var* objects,
                            const ZALFormat_var& format) override
    {
        if (!IsKnown(format))
            return E_INVALIDARG;
        return Guard("CollectBoundary", [&] {
            const std::vector<PartFeature*> results =
                objects ? Target().FindResults(FeaturesOf(*objects)) : Target().AllResults();
            for (PartFeature* result : results)
                boundary.Append(ZALBaseUnknown_var(result));
        });
    }

    ZALBaseUnknown_var Extract(const ZALListValZALBaseUnknown_var& boundary, const ZALFormat_var& format) override
    {
        ZALBaseUnknown_var extracted;
        if (IsKnown(format))
            Guard("Extract",
                  [&] { extracted = ZALBaseUnknown_var::Take(Target().Extract(FeaturesOf(boundary)).release()); });
        return extracted;
    }

    HRESULT FindFormats(ZALHandleList<ZALFormat>& formats) override
    {
        formats.Append(ZALFormat_var::Take(new ZALFormat(ZALFormatResultWithOutLink)));
        return S_OK;
    }

    ZALListValZALBaseUnknown_var Paste(const ZALListValZALBaseUnknown_var& objects,
                                       const ZALHandleList<ZALPathElement>& targets,
                                       const ZALFormat_var& format) override
    {
        ZALListValZALBaseUnknown_var copies;
        if (!IsKnown(format))
            return copies;
        Guard("Paste", [&] {
            std::vector<PartFeature*> places;
            if (targets.Size() == 0 && Target().Part())
                places.push_back(Target().Part());
            for (int index = 1; index <= targets.Size(); ++index)
                if (PartFeature* leaf = LeafOf(targets[index].Get()))
                    places.push_back(leaf);
            for (PartFeature* copy : Target().Paste(FeaturesOf(objects), places))
                copies.Append(ZALBaseUnknown_var(copy));
        });
        return copies;
    }

private:
    static bool IsKnown(const ZALFormat_var& format)
    {
        return format && std::string(format->GetName().CastToCharPtr()) == ZALFormatResultWithOutLink;
    }
    static PartFeature* LeafOf(ZALPathElement* path)
    {
        if (!path)
            return nullptr;
        path->InitToLeafElement();
        return FeatureOf(path->GetNextFatherObject());
    }
};

// ---------------------------------------------------------------------------------------------
// Features

class PartInterface : public Facet<ZALIPrtPart, PartFeature> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetMainTool() override { return ZALBaseUnknown_var(Target().Child()); }
    HRESULT GetTools(ZALListValZALBaseUnknown_var& tools) override
    {
        for (const auto& tool : Target().Children())
            tools.Append(ZALBaseUnknown_var(tool.get()));
        return S_OK;
    }
};

class ManagementInterface : public Facet<ZALIPrtManagement, PartFeature> {
public:
    using Facet::Facet;
    HRESULT SetWorkingFeature(const ZALBaseUnknown_var& feature) override
    {
        const PartFeature* tool = FeatureOf(feature.Get());
        FeatureContainer* container = Target().Container();
        if (!tool || !container)
            return E_INVALIDARG;
        return Guard("SetWorkingFeature", [&] { container->SetWorkingTool(*tool); });
    }
};

class ToolInterface : public Facet<ZALIMechanicalTool, PartFeature> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetShapeFeature() override { return ZALBaseUnknown_var(Target().Child()); }
};

class ShapeInterface : public Facet<ZALIShapeFeatureBody, PartFeature> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetResult() override { return ZALBaseUnknown_var(Target().Child()); }
};

class SpecInterface : public Facet<ZALISpecObject, PartFeature> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetFeatContainer() override { return ZALBaseUnknown_var(Target().Container()); }
    void Update() override
    {
        try {
            Target().Update();
        } catch (const std::exception& error) {
            throw ZALError((Target().Name() + ": the update has failed: " + error.what()).c_str());
        }
    }
};

class PathInterface : public Facet<ZALIPathAccess, PartFeature> {
public:
    using Facet::Facet;
    ZALPathElement_var GetPathElement() override
    {
        std::vector<PartFeature*> way;
        for (PartFeature* feature = &Target(); feature; feature = feature->Father())
            way.push_back(feature);
        auto path = ZALPathElement_var::Take(new ZALPathElement);
        for (auto feature = way.rbegin(); feature != way.rend(); ++feature)
            path->AddChildElement(*feature);
        return path;
    }
};

// ---------------------------------------------------------------------------------------------

template <class Interface, FeatureKind Kind>
ZALBaseUnknown* OfferFor(ZALBaseUnknown* object)
{
    return static_cast<PartFeature*>(object)->Kind() == Kind ? Offer<Interface, PartFeature>(object) : nullptr;
}

ZALBaseUnknown* OfferContainer(ZALBaseUnknown* object)
{
    const auto* container = static_cast<FeatureContainer*>(object);
    return container->Document() && container->HoldsFeatures() ? Offer<ContainerInterface, FeatureContainer>(object)
                                                               : nullptr;
}

ZALBaseUnknown* OfferCopies(ZALBaseUnknown* object)
{
    return static_cast<FeatureContainer*>(object)->HoldsFeatures() ? Offer<CopyInterface, FeatureContainer>(object)
                                                                   : nullptr;
}

const ZALFillDictionary Inits("LoadedDocument", "ZALInit", Offer<InitInterface, LoadedDocument>, 0);
const ZALFillDictionary Cameras("LoadedDocument", "ZALIPersistentCamera", Offer<CameraInterface, LoadedDocument>, 0);
const ZALFillDictionary Containers("FeatureContainer", "ZALIPrtContainer", OfferContainer, 0);
const ZALFillDictionary Copies("FeatureContainer", "ZALICutAndPastable", OfferCopies, 0);
const ZALFillDictionary Parts("PartFeature", "ZALIPrtPart", OfferFor<PartInterface, FeatureKind::Part>, 0);
const ZALFillDictionary Managements("PartFeature", "ZALIPrtManagement",
                                    OfferFor<ManagementInterface, FeatureKind::Part>, 0);
const ZALFillDictionary Tools("PartFeature", "ZALIMechanicalTool", OfferFor<ToolInterface, FeatureKind::Tool>, 0);
const ZALFillDictionary Shapes("PartFeature", "ZALIShapeFeatureBody", OfferFor<ShapeInterface, FeatureKind::Shape>, 0);
const ZALFillDictionary Specs("PartFeature", "ZALISpecObject", Offer<SpecInterface, PartFeature>, 0);
const ZALFillDictionary Paths("PartFeature", "ZALIPathAccess", Offer<PathInterface, PartFeature>, 0);

} // namespace

} // namespace openhost
