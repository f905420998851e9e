// Meshes for tests of the view.
#pragma once

#include "openhost/lvr/LvrMesh.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

namespace openhost::testing {

/// A box around the origin, with six faces of their own vertices.
LvrMesh BoxMesh(float x, float y, float z);
/// A cylinder along z around the origin; its round face has a seam where positions coincide.
LvrMesh CylinderMesh(float radius, float height, std::uint32_t sides);

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
