// The host view of the display.

#include "openhost/cad/LvrWriter.h"
#include "openhost/objects/MetaClassOperations.h"

#include "host/visualization.h"

OPENHOST_META_CLASS(ZALI3DGeoVisu, ZALBaseUnknown)

ZALRep::ZALRep() = default;
ZALRep::~ZALRep() = default;

ZALI3DGeoVisu::ZALI3DGeoVisu() = default;
ZALI3DGeoVisu::~ZALI3DGeoVisu() = default;

int ZALWriteLvr(ZALRep* representation, const char* path, ZALSettingLvr setting, const ZALLvrColorMap* colors,
                unsigned char options, ZALVizLVRAccessMode access)
{
    constexpr int refused = 1;
    if (!representation || !path || setting != ZALLvrWholeDisplay || colors || options != 0 ||
        access != ZALLvrInOneFile)
        return refused;
    return openhost::LvrWriter::Current().Write(*representation, path);
}
