// The writer of light files that reads and tessellates the geometry of the parts shown.
#pragma once

#include "openhost/cad/LvrWriter.h"
#include "openhost/geometry_process/GeometryPool.h"

#include <memory>

namespace openhost {

/// Writes representations of the products of the workspace, as FindShownParts gives their parts. Each part is read and
/// tessellated once a file, several of them at the same time. One that has no geometry any more, or one that cannot be
/// tessellated, is left out, which is written to the journal, as is the reason when nothing is written. A part that
/// takes too long is such a reason, so that no more than one is waited for.
class TessellatingLvrWriter : public LvrWriter {
public:
    explicit TessellatingLvrWriter(std::shared_ptr<GeometryPool> pool) : pool_(std::move(pool)) {}

    int Write(const ZALRep& representation, const std::string& path) override;

private:
    std::shared_ptr<GeometryPool> pool_;
};

} // namespace openhost
