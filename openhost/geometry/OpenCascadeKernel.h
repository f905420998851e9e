// The solid kernel on Open CASCADE.
#pragma once

#include "openhost/cad/SolidKernel.h"

namespace openhost {

class OpenCascadeKernel : public SolidKernel {
public:
    /// The copy shares no surface, curve or vertex with its source; what they share among themselves they share again.
    DocumentGeometry Copy(const DocumentGeometry& geometry) override;
    GeometryFacts Measure(const DocumentGeometry& geometry) override;
};

} // namespace openhost
