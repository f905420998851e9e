#include "openhost/play/MemoryReserve.h"

#include <atomic>
#include <cstdlib>

namespace openhost {

namespace {

std::atomic<bool> isWanted = false;
std::atomic<void*> reserve = nullptr;

/// Called by an allocation that has failed, and tries again when it returns.
void GiveReserve()
{
    void* memory = reserve.exchange(nullptr);
    if (!memory)
        throw std::bad_alloc();
    std::free(memory);
}

} // namespace

MemoryReserve::MemoryReserve() : before_(std::set_new_handler(&GiveReserve))
{
    isWanted = true;
    IsWhole();
}

MemoryReserve::~MemoryReserve()
{
    std::set_new_handler(before_);
    isWanted = false;
    std::free(reserve.exchange(nullptr));
}

bool MemoryReserve::IsWhole()
{
    if (!isWanted || reserve)
        return true;
    reserve = std::malloc(Size);
    return reserve != nullptr;
}

} // namespace openhost
