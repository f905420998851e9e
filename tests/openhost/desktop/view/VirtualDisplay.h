// An X display that nobody sees, for tests that draw by OpenGL.
#pragma once

#include <sys/types.h>

namespace openhost::testing {

/// Runs Xvfb for its life, and has programs and Qt use it.
class VirtualDisplay {
public:
    /// Throws std::runtime_error when Xvfb is missing or does not start.
    VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;
    ~VirtualDisplay();

private:
    pid_t process_ = 0;
};

} // namespace openhost::testing
