#include "openhost/loop/UvEventLoop.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <string>

using namespace openhost;
using namespace std::chrono_literals;

namespace {
std::chrono::nanoseconds ProcessorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}
} // namespace

TEST(UvEventLoop, FiresATimerNoEarlierThanItsTime)
{
    UvEventLoop loop;
    const auto start = std::chrono::steady_clock::now();
    loop.CallAfter(20ms, [] {});
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST(UvEventLoop, WaitsWithoutUsingTheProcessor)
{
    UvEventLoop loop;
    loop.CallAfter(300ms, [] {});
    const auto start = ProcessorTime();
    loop.RunUntilIdle();
    EXPECT_LT(ProcessorTime() - start, 10ms);
}

TEST(UvEventLoop, StopsAtTheLimitWhileSomethingCouldStillHappen)
{
    UvEventLoop loop;
    bool fired = false;
    loop.CallAfter(1h, [&] { fired = true; });
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(10ms));
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(0ms));
    EXPECT_FALSE(fired);
}

TEST(UvEventLoop, StopsAtTheLimitAlsoWhenCallsPostEachOtherForEver)
{
    UvEventLoop loop;
    std::function<void()> again = [&] { loop.Post(again); };
    loop.Post(again);
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(10ms));
}

TEST(UvEventLoop, TheLimitDoesNotCountAsSomethingThatCanHappen)
{
    UvEventLoop loop;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle(1h));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10min);
}

TEST(UvEventLoop, CallsThatPostEachOtherDoNotKeepATimerOrADescriptorFromItsTurn)
{
    UvEventLoop loop;
    std::array<int, 2> ends{};
    ASSERT_EQ(0, pipe(ends.data()));
    bool timer = false;
    bool readable = false;
    std::function<void()> again = [&] { loop.Post(again); };
    loop.Post(again);
    loop.CallAfter(1ms, [&] { timer = true; });
    loop.Watch(ends[0], true, false, [&](bool, bool) {
        readable = true;
        loop.Unwatch(ends[0]);
    });
    ASSERT_EQ(1, write(ends[1], "!", 1));
    EXPECT_EQ(RunEnd::Done, loop.RunUntil([&] { return timer && readable; }, 10s));
    close(ends[0]);
    close(ends[1]);
}

TEST(UvEventLoop, AWatchedDescriptorKeepsARunWaiting)
{
    UvEventLoop loop;
    std::array<int, 2> ends{};
    ASSERT_EQ(0, pipe(ends.data()));
    loop.Watch(ends[0], true, false, [](bool, bool) {});
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(10ms));
    loop.Unwatch(ends[0]);
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle(10s));
    close(ends[0]);
    close(ends[1]);
}

TEST(UvEventLoop, ReportsADescriptorThatCannotBeWatchedOnce)
{
    UvEventLoop loop;
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(file);
    std::string order;
    loop.Watch(file, true, false, [&](bool readable, bool writable) { order += readable && !writable ? 'a' : 'x'; });
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle(10s));
    EXPECT_EQ("a", order);
}

TEST(UvEventLoop, AnOuterRunWithAPassedLimitEndsAfterTheNestedOne)
{
    UvEventLoop loop;
    bool inner = false;
    loop.Post([&] {
        loop.CallAfter(20ms, [&] { inner = true; });
        EXPECT_EQ(RunEnd::Done, loop.RunUntil([&] { return inner; }, 10s));
    });
    loop.CallAfter(1h, [] {});
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(1ms));
    EXPECT_TRUE(inner);
}
