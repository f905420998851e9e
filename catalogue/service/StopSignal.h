// A stop that replies in progress notice at once.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace catalogue {

/// Raised once, from any thread.
class StopSignal {
public:
    void Raise()
    {
        {
            const std::lock_guard lock(mutex_);
            raised_ = true;
        }
        changed_.notify_all();
    }

    /// Waits for `time`. Returns whether the stop has been raised, at once when it is.
    bool WaitFor(std::chrono::milliseconds time)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, time, [this] { return raised_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool raised_ = false;
};

} // namespace catalogue
