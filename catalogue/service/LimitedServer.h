// The HTTP server of the service.
#pragma once

#include "catalogue/service/ServiceLimits.h"

#include <httplib.h>

#include <atomic>
#include <semaphore>

namespace catalogue {

/// The library's server with limits on connections: each has a thread, so that none holds up another, and a time for
/// what its client sends and takes. Errors that the library does not answer are answered here.
class LimitedServer final : public httplib::Server {
public:
    explicit LimitedServer(const ServiceLimits& limits);

    /// Lets as many connections wait as the system does. Called between bind and listen.
    void LengthenQueue();
    /// Has connections end that wait for their clients. Called before stop.
    void EndWaits() { stop_ = std::chrono::steady_clock::now(); }

private:
    bool process_and_close_socket(socket_t socket) override;

    ServiceLimits limits_;
    std::atomic<std::chrono::steady_clock::time_point> stop_ = std::chrono::steady_clock::time_point::max();
    std::counting_semaphore<ServiceLimits::MaximumBodies> bodies_{ServiceLimits::MaximumBodies};
};

} // namespace catalogue
