// Memory that runs out at a chosen allocation. A program that uses this has allocation operators of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

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

/// Lets every allocation of the size of a `Class` fail on this thread as long as it lives.
class NoMemoryForSize {
public:
    explicit NoMemoryForSize(std::size_t size);
    NoMemoryForSize(const NoMemoryForSize&) = delete;
    NoMemoryForSize& operator=(const NoMemoryForSize&) = delete;
    ~NoMemoryForSize();
};

template <class Class>
class NoMemoryFor : public NoMemoryForSize {
public:
    NoMemoryFor() : NoMemoryForSize(sizeof(Class)) {}
};

/// The order in which objects are freed on this thread as long as it lives; one at a time.
class FreedInOrder {
public:
    FreedInOrder();
    FreedInOrder(const FreedInOrder&) = delete;
    FreedInOrder& operator=(const FreedInOrder&) = delete;
    ~FreedInOrder();

    void Watch(const void* object, std::string name) { watched_.emplace_back(object, std::move(name)); }
    /// The names of those that have been freed.
    const std::vector<std::string>& Names() const { return freed_; }

    void Note(const void* memory);

private:
    std::vector<std::pair<const void*, std::string>> watched_;
    std::vector<std::string> freed_;
};

/// Calls `attempt` once for each allocation that it makes inside FailingMemory::During, and lets that one fail; the
/// last attempt is one without a failure. An attempt makes its own objects anew. Returns the number of failures.
int WithEachAllocationFailing(const std::function<void(FailingMemory& memory)>& attempt);
