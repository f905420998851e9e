// The solid kernel in a process of its own.
#pragma once

#include "openhost/apart/GeometryProcess.h"
#include "openhost/cad/SolidKernel.h"

#include <memory>

namespace openhost {

class ApartSolidKernel : public SolidKernel {
public:
    explicit ApartSolidKernel(std::shared_ptr<GeometryProcess> process) : process_(std::move(process)) {}

    DocumentGeometry Copy(const DocumentGeometry& geometry) override;
    GeometryFacts Measure(const DocumentGeometry& geometry) override;

private:
    std::shared_ptr<GeometryProcess> process_;
};

} // namespace openhost
