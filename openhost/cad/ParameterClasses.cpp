#include "openhost/objects/MetaClassOperations.h"

#include "host/parameters.h"

OPENHOST_META_CLASS(ZALICkeType, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALICkeInst, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALICkeParm, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALICkeParmFactory, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIParmPublisher, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPrdProperties, ZALBaseUnknown)

ZALICkeType::ZALICkeType() = default;
ZALICkeType::~ZALICkeType() = default;

ZALICkeInst::ZALICkeInst() = default;
ZALICkeInst::~ZALICkeInst() = default;

ZALICkeParm::ZALICkeParm() = default;
ZALICkeParm::~ZALICkeParm() = default;

ZALICkeParmFactory::ZALICkeParmFactory() = default;
ZALICkeParmFactory::~ZALICkeParmFactory() = default;

ZALIParmPublisher::ZALIParmPublisher() = default;
ZALIParmPublisher::~ZALIParmPublisher() = default;

ZALIPrdProperties::ZALIPrdProperties() = default;
ZALIPrdProperties::~ZALIPrdProperties() = default;
