// Descriptors that a loop looks at with poll(2).
#pragma once

#include "openhost/loop/EventQueue.h"

#include <map>

namespace openhost {

/// What a loop watches for reading or writing.
class PolledDescriptors {
public:
    /// In place of what was asked of `descriptor` before.
    void Start(int descriptor, bool read, bool write);
    void End(int descriptor) { events_.erase(descriptor); }
    /// Queues those that are ready. Waits for one, or a signal, for at most `longest`; without it, for ever.
    void Collect(EventQueue& queue, std::optional<std::chrono::milliseconds> longest) const;

private:
    std::map<int, short> events_; ///< of poll(2)
};

} // namespace openhost
