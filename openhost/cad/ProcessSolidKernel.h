// The solid kernel in processes of its own.
#pragma once

#include "openhost/cad/SolidKernel.h"
#include "openhost/geometry_process/GeometryPool.h"

#include <deque>
#include <future>
#include <memory>

namespace openhost {

/// Copies what is expected ahead, a few at a time, on all cores. Such a copy is known by the bytes of its source.
class ProcessSolidKernel : public SolidKernel {
public:
    explicit ProcessSolidKernel(std::shared_ptr<GeometryPool> pool) : pool_(std::move(pool)) {}
    ~ProcessSolidKernel() override { pool_->Drop(this); }

    SolidCopy Copy(const DocumentGeometry& geometry) override;
    void Expect(const std::vector<std::filesystem::path>& files) override;
    void Check(const DocumentGeometry& geometry) override;

private:
    struct Begun {
        std::shared_ptr<const std::string> boundary;
        std::future<SolidCopy> copy;
    };
    void Begin();

    std::shared_ptr<GeometryPool> pool_;
    std::deque<std::filesystem::path> expected_; ///< not begun
    std::deque<Begun> begun_;
};

} // namespace openhost
