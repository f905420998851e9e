// The 3D display of the host: representations of objects, and the light file that one can be written to. Used on the
// user-interface thread.
#pragma once

#include "object_model.h"

/// What the display shows of one object. Belongs to the display.
class ZALRep : public ZALBaseUnknown {
public:
    ZALRep();
    ~ZALRep() override;
};

/// Offered by objects that the display shows.
class ZALI3DGeoVisu : public ZALBaseUnknown {
public:
    ZALI3DGeoVisu();
    ~ZALI3DGeoVisu() override;
    /// The representation of the object with all that stands below it, or null when there is nothing to show. No
    /// reference is added: it stays until the object changes or ends.
    virtual ZALRep* GiveRep() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALI3DGeoVisu_var = ZALInterfaceHandle<ZALI3DGeoVisu>;

/// What goes into a light file.
enum ZALSettingLvr : int {
    ZALLvrWholeDisplay = 7, ///< all that the display shows: faces, edges, attributes
};

/// How a light file is laid out.
enum ZALVizLVRAccessMode : int {
    ZALLvrInOneFile = 16, ///< it refers to no other file
};

/// Colours that replace those of a representation.
class ZALLvrColorMap;

/// Writes `representation` to the light file `path`, a path in the host's narrow encoding, and replaces what stands
/// there. `colors` may be null, `options` is 0. Returns 0 on success; otherwise another number, and no file has
/// changed.
int ZALWriteLvr(ZALRep* representation, const char* path, ZALSettingLvr setting, const ZALLvrColorMap* colors,
                unsigned char options, ZALVizLVRAccessMode access);
