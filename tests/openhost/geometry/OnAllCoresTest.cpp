#include "openhost/geometry/OnAllCores.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <latch>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace openhost::testing {

TEST(OnAllCores, EachNumberIsWorkedOnOnce)
{
    for (const std::size_t count : {0U, 1U, 2U, 1000U}) {
        std::vector<int> calls(count); // each thread has elements of its own
        OnAllCores(count, [&](std::size_t number) { ++calls.at(number); });
        EXPECT_EQ(count, static_cast<std::size_t>(std::ranges::count(calls, 1)));
    }
}

TEST(OnAllCores, NeverHasMoreThreadsThanCores)
{
    std::mutex mutex;
    std::set<std::thread::id> threads;
    OnAllCores(1000, [&](std::size_t) {
        const std::lock_guard lock(mutex);
        threads.insert(std::this_thread::get_id());
    });
    EXPECT_GE(threads.size(), 1U);
    EXPECT_LE(threads.size(), std::min(8U, std::max(1U, std::thread::hardware_concurrency())));
}

std::ptrdiff_t ThreadsOfThisProcess()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

/// Calls within calls: one number of each waits for the innermost of them, which counts the threads.
void CallWithin(int depth, std::latch& innermost, std::ptrdiff_t& threads)
{
    if (depth == 0) {
        threads = ThreadsOfThisProcess();
        innermost.count_down();
        return;
    }
    OnAllCores(2, [&](std::size_t number) {
        if (number == 0)
            CallWithin(depth - 1, innermost, threads);
        else
            innermost.wait();
    });
}

TEST(OnAllCores, CallsWithinCallsShareAFewThreads)
{
    const std::ptrdiff_t before = ThreadsOfThisProcess();
    std::latch innermost(1);
    std::ptrdiff_t threads = 0;
    CallWithin(20, innermost, threads);
    EXPECT_GE(threads, before);
    EXPECT_LE(threads, before + 7);
}

TEST(OnAllCores, FailureOfTheLowestNumberIsThrownWhenAllHaveEnded)
{
    std::vector<int> calls(100);
    try {
        OnAllCores(calls.size(), [&](std::size_t number) {
            ++calls.at(number);
            if (number % 10 == 7)
                throw std::runtime_error(std::to_string(number));
        });
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("7", error.what());
    }
    EXPECT_EQ(100, std::ranges::count(calls, 1));
}

} // namespace openhost::testing
