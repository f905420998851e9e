// What parts are made of: containers, the part and its tools, shapes with results, copies from one document to
// another, cameras. Used on the user-interface thread. Operations give handles, which hold their own reference.
//
// The way to the shape of a part, each step a query on what the step before gave:
//   1. ZALInit of the document gives its root container.
//   2. ZALIPrtContainer of the container gives the part.
//   3. ZALIPrtPart of the part gives the main tool, which holds the shape of the part, and all tools.
//   4. ZALIMechanicalTool of a tool gives its shape feature, ZALIShapeFeatureBody of that its result.
//
// A copy from one document to another, in order:
//   1. ZALICutAndPastable of the source's container: FindFormats, then CollectBoundary of the objects.
//   2. Extract gives a container that stands in no document.
//   3. CollectBoundary of that container, with no objects, gives all that was extracted.
//   4. Paste of the target's container.
#pragma once

#include "cad.h"

/// The one type of exception that a service of the host throws, and only where the service says so.
class ZALError {
public:
    explicit ZALError(const char* text);
    ZALError(const ZALError&) = default;
    ZALError& operator=(const ZALError&) = default;
    virtual ~ZALError();
    const ZALString& GetText() const { return text_; }
    /// Ends the error: whoever has caught it says that it is dealt with.
    virtual void Flush();

private:
    ZALString text_;
};

/// Offered by documents.
class ZALInit : public ZALBaseUnknown {
public:
    ZALInit();
    ~ZALInit() override;
    /// The root container that offers `interfaceName`; a null handle when there is none.
    virtual ZALBaseUnknown_var GetRootContainer(const char* interfaceName) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALInit_var = ZALInterfaceHandle<ZALInit>;

/// Offered by the root container of a part document.
class ZALIPrtContainer : public ZALBaseUnknown {
public:
    ZALIPrtContainer();
    ~ZALIPrtContainer() override;
    /// The part feature; a null handle when there is none.
    virtual ZALBaseUnknown_var GetPart() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIPrtContainer_var = ZALInterfaceHandle<ZALIPrtContainer>;

/// The part of a part document. Each one has a main tool.
class ZALIPrtPart : public ZALBaseUnknown {
public:
    ZALIPrtPart();
    ~ZALIPrtPart() override;
    /// The tool that holds the shape of the part.
    virtual ZALBaseUnknown_var GetMainTool() = 0;
    /// Appends all tools in the order of the part, the main tool among them.
    virtual HRESULT GetTools(ZALListValZALBaseUnknown_var& tools) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIPrtPart_var = ZALInterfaceHandle<ZALIPrtPart>;

/// A tool that can hold a shape.
class ZALIMechanicalTool : public ZALBaseUnknown {
public:
    ZALIMechanicalTool();
    ~ZALIMechanicalTool() override;
    /// The shape feature of the tool; a null handle for a tool with no content.
    virtual ZALBaseUnknown_var GetShapeFeature() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIMechanicalTool_var = ZALInterfaceHandle<ZALIMechanicalTool>;

/// A shape feature that has a result.
class ZALIShapeFeatureBody : public ZALBaseUnknown {
public:
    ZALIShapeFeatureBody();
    ~ZALIShapeFeatureBody() override;
    /// The object that carries the resulting solids; a null handle when there is none.
    virtual ZALBaseUnknown_var GetResult() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIShapeFeatureBody_var = ZALInterfaceHandle<ZALIShapeFeatureBody>;

/// A feature, or another object that stands in a container of features.
class ZALISpecObject : public ZALBaseUnknown {
public:
    ZALISpecObject();
    ~ZALISpecObject() override;
    /// The container of the feature; a null handle for a feature that is in none.
    virtual ZALBaseUnknown_var GetFeatContainer() = 0;
    /// Computes the feature and what depends on it anew. Throws ZALError when that fails.
    virtual void Update() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALISpecObject_var = ZALInterfaceHandle<ZALISpecObject>;

/// The way to a feature, from the root of its document.
class ZALIPathAccess : public ZALBaseUnknown {
public:
    ZALIPathAccess();
    ~ZALIPathAccess() override;
    virtual ZALPathElement_var GetPathElement() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIPathAccess_var = ZALInterfaceHandle<ZALIPathAccess>;

/// The part as its editor sees it.
class ZALIPrtManagement : public ZALBaseUnknown {
public:
    ZALIPrtManagement();
    ~ZALIPrtManagement() override;
    /// Makes `feature`, one of the part's tools, the one that the user works in.
    virtual HRESULT SetWorkingFeature(const ZALBaseUnknown_var& feature) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIPrtManagement_var = ZALInterfaceHandle<ZALIPrtManagement>;

// ---------------------------------------------------------------------------------------------
// Copies from one document to another

/// Name of the format that copies results as they are, with no link to the document that they come from.
inline constexpr const char* ZALFormatResultWithOutLink = "ZALPrtResultWithOutLink";

/// A form in which a container gives and takes content.
class ZALFormat : public ZALBaseUnknown {
public:
    explicit ZALFormat(const char* name);
    ~ZALFormat() override;
    const ZALString& GetName() const { return name_; }

    ZAL_DECLARE_META_CLASS

private:
    ZALString name_;
};

using ZALFormat_var = ZALInterfaceHandle<ZALFormat>;

/// Offered by containers.
class ZALICutAndPastable : public ZALBaseUnknown {
public:
    ZALICutAndPastable();
    ~ZALICutAndPastable() override;
    /// Appends to `boundary` what `format` needs of this container to copy `objects`, each object once; with a null
    /// `objects` all that the container holds.
    virtual HRESULT CollectBoundary(ZALListValZALBaseUnknown_var& boundary, const ZALListValZALBaseUnknown_var* objects,
                                    const ZALFormat_var& format) = 0;
    /// A container of its own with copies of `boundary`; a null handle on failure. The source stays as it is.
    virtual ZALBaseUnknown_var Extract(const ZALListValZALBaseUnknown_var& boundary, const ZALFormat_var& format) = 0;
    /// Appends the formats that the container knows, the preferred one first.
    virtual HRESULT FindFormats(ZALHandleList<ZALFormat>& formats) = 0;
    /// Puts copies of `objects`, which stand in an extracted container, into this one, below the leaf of each path of
    /// `targets`; without targets below the root. Results go into a target that is a tool without content, and into a
    /// new tool of a target that is a part. Targets of another document get nothing. Gives the copies.
    virtual ZALListValZALBaseUnknown_var Paste(const ZALListValZALBaseUnknown_var& objects,
                                               const ZALHandleList<ZALPathElement>& targets,
                                               const ZALFormat_var& format) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALICutAndPastable_var = ZALInterfaceHandle<ZALICutAndPastable>;

// ---------------------------------------------------------------------------------------------
// Cameras

/// The cameras that are stored in a document.
class ZALCameraStore : public ZALBaseUnknown {
public:
    ZALCameraStore();
    ~ZALCameraStore() override;
    /// Replaces the cameras of this store by copies of those of `other`, in their order.
    virtual HRESULT TakeCameras(ZALCameraStore& other) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALCameraStore_var = ZALInterfaceHandle<ZALCameraStore>;

/// Offered by documents.
class ZALIPersistentCamera : public ZALBaseUnknown {
public:
    ZALIPersistentCamera();
    ~ZALIPersistentCamera() override;
    /// The camera store of the document; a null handle when it has none.
    virtual ZALCameraStore_var GetCameraStore() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIPersistentCamera_var = ZALInterfaceHandle<ZALIPersistentCamera>;
