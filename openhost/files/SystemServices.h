// What stands behind the services of the system that modules wait for.
#pragma once

#include "openhost/ports/Port.h"

namespace openhost {

/// Port of waiting. Backend: the thread sleeps.
class SystemServices : public Port<SystemServices> {
public:
    virtual ~SystemServices();

    /// Sleeps for real, which needs no set-up.
    static std::unique_ptr<SystemServices> WithoutBackend();

    virtual void Sleep(unsigned int milliseconds) = 0;
};

extern template class Port<SystemServices>;

} // namespace openhost
