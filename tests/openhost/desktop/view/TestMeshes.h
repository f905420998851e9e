// Meshes for tests of the view.
#pragma once

#include "openhost/desktop/view/ShownMesh.h"
#include "openhost/lvr/LvrMesh.h"
#include "openhost/space/Placement.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>
#include <memory>
#include <utility>

namespace openhost::testing {

/// A box around the origin, with six faces of their own vertices.
LvrMesh BoxMesh(float x, float y, float z);
/// A cylinder along z around the origin; its round face has a seam where positions coincide.
LvrMesh CylinderMesh(float radius, float height, std::uint32_t sides);

/// The placement that shifts by these.
inline Placement At(double x, double y, double z)
{
    return {1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z};
}
/// `mesh` as the view takes it.
inline std::shared_ptr<const ShownMesh> Shown(LvrMesh mesh)
{
    return std::make_shared<const ShownMesh>(PrepareMesh(std::move(mesh)));
}

/// Lets the application work until `done`; false when that takes longer than any machine should.
inline bool Until(const std::function<bool()>& done)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > 60'000)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

} // namespace openhost::testing
