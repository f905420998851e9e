// Memory that is kept back for the time when there is no more.
#pragma once

#include <cstddef>
#include <new>

namespace openhost {

/// While an object of it lives, an allocation that fails gets the memory that is kept back: what has no way to tell a
/// failure, such as a destructor, an event of the journal or the loading of a module, comes to its end. One that would
/// not fit fails with std::bad_alloc, as ever. There is one at a time. Allocations of any thread may ask it.
class MemoryReserve {
public:
    /// What lasts for all that one step still does, and for the end of a session with its journal.
    static constexpr std::size_t Size = std::size_t{4} << 20;

    MemoryReserve();
    MemoryReserve(const MemoryReserve&) = delete;
    MemoryReserve& operator=(const MemoryReserve&) = delete;
    ~MemoryReserve();

    /// Whether the memory is there, or could be had again. False means that what goes on may end without warning. True
    /// while there is no such object.
    static bool IsWhole();

private:
    std::new_handler before_;
};

} // namespace openhost
