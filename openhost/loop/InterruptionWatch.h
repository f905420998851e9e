// Signals that are to end work which runs without the loop.
#pragma once

#include "openhost/files/Descriptor.h"

#include <functional>
#include <thread>

namespace openhost {

/// Calls a function, on a thread of its own, once a signal has come that is to end the program, as Interruption says;
/// nobody takes it.
class InterruptionWatch {
public:
    /// Throws std::system_error.
    explicit InterruptionWatch(std::function<void()> interrupt);
    InterruptionWatch(const InterruptionWatch&) = delete;
    InterruptionWatch& operator=(const InterruptionWatch&) = delete;
    ~InterruptionWatch();

private:
    void Wait(const std::function<void()>& interrupt) const;

    Descriptor end_; ///< readable when there is nothing more to wait for
    std::thread thread_;
};

} // namespace openhost
