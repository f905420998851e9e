// What holds for every event loop that waits in the system. A source of tests declares the list of them,
// `WaitingLoops`, before it includes this.
#pragma once

#include "tests/openhost/loop/AnyEventLoopTests.h"

#include <fcntl.h>
#include <time.h>

inline std::chrono::nanoseconds ProcessorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

template <class Loop>
class AnyWaitingEventLoop : public testing::Test {
protected:
    Loop loop;
};

TYPED_TEST_SUITE(AnyWaitingEventLoop, WaitingLoops);

TYPED_TEST(AnyWaitingEventLoop, FiresATimerNoEarlierThanItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    this->loop.CallAfter(20ms, [] {});
    EXPECT_EQ(RunEnd::Idle, this->loop.RunUntilIdle());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TYPED_TEST(AnyWaitingEventLoop, WaitsWithoutUsingTheProcessor)
{
    this->loop.CallAfter(300ms, [] {});
    auto start = ProcessorTime();
    this->loop.RunUntilIdle();
    EXPECT_LT(ProcessorTime() - start, 60ms);

    this->loop.CallAfter(24h * 365, [] {}); // further off than the system counts
    start = ProcessorTime();
    EXPECT_EQ(RunEnd::TimedOut, this->loop.RunUntilIdle(100ms));
    EXPECT_LT(ProcessorTime() - start, 60ms);
}

TYPED_TEST(AnyWaitingEventLoop, StopsAtTheLimitWhileSomethingCouldStillHappen)
{
    bool fired = false;
    this->loop.CallAfter(1h, [&] { fired = true; });
    EXPECT_EQ(RunEnd::TimedOut, this->loop.RunUntilIdle(10ms));
    EXPECT_EQ(RunEnd::TimedOut, this->loop.RunUntilIdle(0ms));
    EXPECT_FALSE(fired);
}

TYPED_TEST(AnyWaitingEventLoop, StopsAtTheLimitAlsoWhenCallsPostEachOtherForEver)
{
    std::function<void()> again = [&] { this->loop.Post(again); };
    this->loop.Post(again);
    EXPECT_EQ(RunEnd::TimedOut, this->loop.RunUntilIdle(10ms));
}

TYPED_TEST(AnyWaitingEventLoop, TheLimitDoesNotCountAsSomethingThatCanHappen)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunEnd::Idle, this->loop.RunUntilIdle(1h));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10min);
}

TYPED_TEST(AnyWaitingEventLoop, CallsThatPostEachOtherLeaveTimersAndDescriptorsTheirTurn)
{
    SocketPair sockets;
    bool timer = false;
    bool readable = false;
    std::function<void()> again = [&] { this->loop.Post(again); };
    this->loop.Post(again);
    this->loop.CallAfter(1ms, [&] { timer = true; });
    this->loop.Watch(sockets.Own(), true, false, [&](bool, bool) {
        readable = true;
        this->loop.Unwatch(sockets.Own());
    });
    sockets.SendFromOther("!");
    EXPECT_EQ(RunEnd::Done, this->loop.RunUntil([&] { return timer && readable; }, 60s));
}

TYPED_TEST(AnyWaitingEventLoop, AWatchedDescriptorKeepsARunWaiting)
{
    SocketPair sockets;
    this->loop.Watch(sockets.Own(), true, false, [](bool, bool) {});
    EXPECT_EQ(RunEnd::TimedOut, this->loop.RunUntilIdle(10ms));
    this->loop.Unwatch(sockets.Own());
    EXPECT_EQ(RunEnd::Idle, this->loop.RunUntilIdle(10s));
}

TYPED_TEST(AnyWaitingEventLoop, ReportsADescriptorThatCannotBeWatchedOnce)
{
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(file);
    std::string order;
    this->loop.Watch(file, true, false,
                     [&](bool readable, bool writable) { order += readable && !writable ? 'a' : 'x'; });
    EXPECT_EQ(RunEnd::Idle, this->loop.RunUntilIdle(10s));
    EXPECT_EQ("a", order);
}

TYPED_TEST(AnyWaitingEventLoop, AnOuterRunWithAPassedLimitEndsAfterTheNestedOne)
{
    bool inner = false;
    this->loop.Post([&] {
        this->loop.CallAfter(20ms, [&] { inner = true; });
        EXPECT_EQ(RunEnd::Done, this->loop.RunUntil([&] { return inner; }, 10s));
    });
    this->loop.CallAfter(1h, [] {});
    EXPECT_EQ(RunEnd::TimedOut, this->loop.RunUntilIdle(1ms));
    EXPECT_TRUE(inner);
}
