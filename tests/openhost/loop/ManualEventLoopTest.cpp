#include "openhost/loop/ManualEventLoop.h"

#include <gtest/gtest.h>

#include <string>

using namespace openhost;
using namespace std::chrono_literals;

TEST(ManualEventLoop, TimersWaitForTheClockAndNotForARun)
{
    ManualEventLoop loop;
    std::string order;
    loop.CallAfter(0ms, [&] { order += 'a'; });
    loop.CallAfter(10ms, [&] { order += 'b'; });
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle(1h));
    EXPECT_EQ("", order);
    loop.Advance(0ms);
    EXPECT_EQ("a", order);
    loop.Advance(9ms);
    EXPECT_EQ("a", order);
    loop.Advance(1ms);
    EXPECT_EQ("ab", order);
}

TEST(ManualEventLoop, AdvanceRunsPostedCallsBeforeTheNextTimer)
{
    ManualEventLoop loop;
    std::string order;
    loop.CallAfter(1ms, [&] {
        order += 'b';
        loop.Post([&] { order += 'c'; });
    });
    loop.CallAfter(2ms, [&] { order += 'd'; });
    loop.Post([&] { order += 'a'; });
    loop.Advance(5ms);
    EXPECT_EQ("abcd", order);
}

TEST(ManualEventLoop, ATimerMadeByATimerCountsFromItsTime)
{
    ManualEventLoop loop;
    std::string order;
    loop.CallAfter(10ms, [&] {
        order += 'a';
        loop.CallAfter(10ms, [&] { order += 'b'; });
    });
    loop.Advance(19ms);
    EXPECT_EQ("a", order);
    loop.Advance(1ms);
    EXPECT_EQ("ab", order);
}

TEST(ManualEventLoop, AdvanceInsideATimerMovesTheClockOnce)
{
    ManualEventLoop loop;
    std::string order;
    loop.CallAfter(1ms, [&] {
        loop.Advance(10ms);
        order += 'b';
    });
    loop.CallAfter(5ms, [&] { order += 'a'; });
    loop.Advance(3ms);
    EXPECT_EQ("ab", order);
    loop.CallAfter(1ms, [&] { order += 'c'; });
    loop.Advance(1ms);
    EXPECT_EQ("abc", order);
}
