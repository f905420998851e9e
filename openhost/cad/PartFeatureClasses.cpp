#include "openhost/objects/MetaClassOperations.h"

#include "host/part_features.h"

OPENHOST_META_CLASS(ZALInit, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPrtContainer, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPrtPart, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIMechanicalTool, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIShapeFeatureBody, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALISpecObject, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPathAccess, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPrtManagement, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALFormat, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALICutAndPastable, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALCameraStore, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPersistentCamera, ZALBaseUnknown)

ZALInit::ZALInit() = default;
ZALInit::~ZALInit() = default;

ZALIPrtContainer::ZALIPrtContainer() = default;
ZALIPrtContainer::~ZALIPrtContainer() = default;

ZALIPrtPart::ZALIPrtPart() = default;
ZALIPrtPart::~ZALIPrtPart() = default;

ZALIMechanicalTool::ZALIMechanicalTool() = default;
ZALIMechanicalTool::~ZALIMechanicalTool() = default;

ZALIShapeFeatureBody::ZALIShapeFeatureBody() = default;
ZALIShapeFeatureBody::~ZALIShapeFeatureBody() = default;

ZALISpecObject::ZALISpecObject() = default;
ZALISpecObject::~ZALISpecObject() = default;

ZALIPathAccess::ZALIPathAccess() = default;
ZALIPathAccess::~ZALIPathAccess() = default;

ZALIPrtManagement::ZALIPrtManagement() = default;
ZALIPrtManagement::~ZALIPrtManagement() = default;

ZALFormat::ZALFormat(const char* name) : name_(name) {}
ZALFormat::~ZALFormat() = default;

ZALICutAndPastable::ZALICutAndPastable() = default;
ZALICutAndPastable::~ZALICutAndPastable() = default;

ZALCameraStore::ZALCameraStore() = default;
ZALCameraStore::~ZALCameraStore() = default;

ZALIPersistentCamera::ZALIPersistentCamera() = default;
ZALIPersistentCamera::~ZALIPersistentCamera() = default;
