// The writer of light files that reads and tessellates the geometry of the parts shown.
#pragma once

#include "openhost/cad/LvrWriter.h"

namespace openhost {

/// Writes representations of the products of the session, as FindShownParts gives their parts. Each part is read and
/// tessellated once a file. One whose file holds no geometry any more is left out, which is written to the journal, as
/// is the reason when nothing is written. The geometry is read in a process of its own, so that one on which the solid
/// kernel crashes or does not come to an end is such a reason.
class TessellatingLvrWriter : public LvrWriter {
public:
    int Write(const ZALRep& representation, const std::string& path) override;
};

} // namespace openhost
