// The solid kernel in a process of its own.
#pragma once

#include "openhost/cad/SolidKernel.h"
#include "openhost/geometry_process/GeometryProcess.h"

#include <memory>

namespace openhost {

class ProcessSolidKernel : public SolidKernel {
public:
    explicit ProcessSolidKernel(std::shared_ptr<GeometryProcess> process) : process_(std::move(process)) {}

    SolidCopy Copy(const DocumentGeometry& geometry) override;
    void Check(const DocumentGeometry& geometry) override;

private:
    std::shared_ptr<GeometryProcess> process_;
};

} // namespace openhost
