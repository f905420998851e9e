// Memory that runs out at a chosen allocation. A program that uses this has allocation operators of its own.
#pragma once

#include <functional>

/// Lets the allocation `number`, from 1, of those that a call makes on this thread fail, and none after it.
class FailingMemory {
public:
    explicit FailingMemory(int number) : number_(number) {}
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// Runs `call`, whose allocations count; those of several calls are counted together. An exception that leaves
    /// `call` leaves this too.
    void During(const std::function<void()>& call);
    /// Whether the allocation has been reached.
    bool HasRunOut() const { return count_ >= number_; }

private:
    int number_;
    int count_ = 0;
};

/// Calls `attempt` once for each allocation that it makes inside FailingMemory::During, and lets that one fail; the
/// last attempt is one without a failure. An attempt makes its own objects anew. Returns the number of failures.
int WithEachAllocationFailing(const std::function<void(FailingMemory& memory)>& attempt);
