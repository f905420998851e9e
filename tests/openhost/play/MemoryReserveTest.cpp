#include "openhost/play/MemoryReserve.h"

#include <gtest/gtest.h>

#include <new>

using openhost::MemoryReserve;

namespace {

/// As an allocation does that has failed.
void AskForMemory()
{
    std::get_new_handler()();
}

TEST(MemoryReserve, IsGivenToOneAllocationThatFails)
{
    const MemoryReserve memory;
    EXPECT_NO_THROW(AskForMemory());
    EXPECT_THROW(AskForMemory(), std::bad_alloc);
}

TEST(MemoryReserve, IsThereAgainOnceThereIsMemory)
{
    const MemoryReserve memory;
    AskForMemory();
    EXPECT_TRUE(MemoryReserve::IsWhole());
    EXPECT_NO_THROW(AskForMemory());
}

TEST(MemoryReserve, LetsAnAllocationFailThatIsTooLarge)
{
    const MemoryReserve memory;
    // Which asks until it is told that there is none.
    EXPECT_THROW(for (;;) AskForMemory();, std::bad_alloc);
    EXPECT_TRUE(MemoryReserve::IsWhole());
}

TEST(MemoryReserve, LeavesAllocationsAsTheyWereAtItsEnd)
{
    const std::new_handler before = std::get_new_handler();
    {
        const MemoryReserve memory;
        AskForMemory();
    }
    EXPECT_EQ(before, std::get_new_handler());
    EXPECT_TRUE(MemoryReserve::IsWhole());
}

} // namespace
