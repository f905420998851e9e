// What the service takes from its clients.
#pragma once

#include <chrono>
#include <cstddef>

namespace catalogue {

struct ServiceLimits {
    /// Connections that are served at the same time; others wait. A client has a handful, and a thread little memory.
    static constexpr std::size_t MaximumConnections = 256;
    /// Longest head of a request. Those of browsers have a few KiB.
    static constexpr std::size_t MaximumHeadSize = 64UL << 10;
    /// Bodies that are read at the same time; others wait. Each is held in memory.
    static constexpr std::ptrdiff_t MaximumBodies = 16;
    /// Connections that the system keeps until they are accepted: a burst of them is not refused.
    static constexpr int QueueLength = 1024;

    /// Bytes of a reply that the system holds for a client that does not read; enough for full speed on this machine.
    static constexpr int SendBuffer = 256 << 10;

    /// For a head from its first byte, and for a new connection to send one.
    std::chrono::milliseconds headTime{10'000};
    /// For a whole body: enough for the largest one over a slow tunnel.
    std::chrono::milliseconds bodyTime{60'000};
    /// Without a byte taken of a reply; long enough for a client in a debugger.
    std::chrono::milliseconds writeTime{60'000};
    /// Until the next request of a connection.
    std::chrono::milliseconds idleTime{1'000};
};

} // namespace catalogue
