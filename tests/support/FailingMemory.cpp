#include "tests/support/FailingMemory.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

/// Allocations that may still be made before one fails; below 0 none fails.
thread_local int AllocationsLeft = -1;
/// Allocations of this size fail; 0 for none.
thread_local std::size_t ScarceSize = 0;
/// Hears of what is freed; null for nobody.
thread_local FreedInOrder* Watcher = nullptr;

void* Allocate(std::size_t size, std::size_t alignment)
{
    if (AllocationsLeft >= 0 && AllocationsLeft-- == 0)
        return nullptr;
    if (ScarceSize > 0 && size == ScarceSize)
        return nullptr;
    const std::size_t bytes = size > 0 ? size : 1;
    return alignment > alignof(std::max_align_t)
               ? std::aligned_alloc(alignment, (bytes + alignment - 1) & ~(alignment - 1))
               : std::malloc(bytes);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment)
{
    if (void* memory = Allocate(size, alignment))
        return memory;
    throw std::bad_alloc();
}

void Free(void* memory)
{
    if (Watcher)
        Watcher->Note(memory);
    std::free(memory);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The operators of the program and of every library in it

void* operator new(std::size_t size)
{
    return AllocateOrThrow(size, 0);
}
void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size, 0);
}
void operator delete(void* memory) noexcept
{
    Free(memory);
}
void operator delete[](void* memory) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept
{
    Free(memory);
}

// ---------------------------------------------------------------------------------------------
// The count

void FailingMemory::During(const std::function<void()>& call)
{
    // A call that allocates more than this many times allocates for ever.
    constexpr int most = 1 << 28;
    struct Counting {
        explicit Counting(int& allocations, int failing) : count(allocations), before(allocations)
        {
            AllocationsLeft = failing > count ? failing - count - 1 : most;
            begin = AllocationsLeft;
        }
        ~Counting()
        {
            count = before + (begin - AllocationsLeft);
            AllocationsLeft = -1;
        }
        int& count;
        int before;
        int begin = 0;
    };
    const Counting counting(count_, number_);
    call();
}

int WithEachAllocationFailing(const std::function<void(FailingMemory& memory)>& attempt)
{
    for (int number = 1;; ++number) {
        FailingMemory memory(number);
        attempt(memory);
        if (!memory.HasRunOut())
            return number - 1;
    }
}

NoMemoryForSize::NoMemoryForSize(std::size_t size)
{
    ScarceSize = size;
}

NoMemoryForSize::~NoMemoryForSize()
{
    ScarceSize = 0;
}

FreedInOrder::FreedInOrder()
{
    Watcher = this;
}

FreedInOrder::~FreedInOrder()
{
    Watcher = nullptr;
}

void FreedInOrder::Note(const void* memory)
{
    // Notes free memory of their own.
    Watcher = nullptr;
    for (auto& [object, name] : watched_)
        if (memory && object == memory) {
            freed_.push_back(name);
            object = nullptr;
        }
    Watcher = this;
}
