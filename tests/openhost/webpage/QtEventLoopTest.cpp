#include "openhost/webpage/QtEventLoop.h"

#include <gtest/gtest.h>

using Loops = testing::Types<openhost::QtEventLoop>;

#include "tests/openhost/loop/AnyEventLoopTests.h"

#include <fcntl.h>
#include <time.h>

#include <thread>

namespace {

std::chrono::nanoseconds ProcessorTime()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

TEST(QtEventLoop, FiresATimerNoEarlierThanItsTime)
{
    QtEventLoop loop;
    const auto start = std::chrono::steady_clock::now();
    loop.CallAfter(20ms, [] {});
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST(QtEventLoop, WaitsWithoutUsingTheProcessor)
{
    QtEventLoop loop;
    loop.CallAfter(300ms, [] {});
    const auto start = ProcessorTime();
    loop.RunUntilIdle();
    EXPECT_LT(ProcessorTime() - start, 60ms);
}

TEST(QtEventLoop, StopsAtTheLimitWhileSomethingCouldStillHappen)
{
    QtEventLoop loop;
    bool fired = false;
    loop.CallAfter(1h, [&] { fired = true; });
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(10ms));
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(0ms));
    EXPECT_FALSE(fired);
}

TEST(QtEventLoop, CallsThatPostEachOtherDoNotKeepATimerOrADescriptorFromItsTurn)
{
    QtEventLoop loop;
    SocketPair sockets;
    bool timer = false;
    bool readable = false;
    std::function<void()> again = [&] { loop.Post(again); };
    loop.Post(again);
    loop.CallAfter(1ms, [&] { timer = true; });
    loop.Watch(sockets.Own(), true, false, [&](bool, bool) {
        readable = true;
        loop.Unwatch(sockets.Own());
    });
    sockets.SendFromOther("!");
    EXPECT_EQ(RunEnd::Done, loop.RunUntil([&] { return timer && readable; }, 60s));
}

TEST(QtEventLoop, AWatchedDescriptorKeepsARunWaiting)
{
    QtEventLoop loop;
    SocketPair sockets;
    loop.Watch(sockets.Own(), true, false, [](bool, bool) {});
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(10ms));
    loop.Unwatch(sockets.Own());
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle(10s));
}

TEST(QtEventLoop, ReportsADescriptorThatIsNotOpenOnce)
{
    QtEventLoop loop;
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(file);
    std::string order;
    loop.Watch(file, true, false, [&](bool readable, bool writable) { order += readable && !writable ? 'a' : 'x'; });
    EXPECT_EQ(RunEnd::Idle, loop.RunUntilIdle(10s));
    EXPECT_EQ("a", order);
}

TEST(QtEventLoop, AnOuterRunWithAPassedLimitEndsAfterTheNestedOne)
{
    QtEventLoop loop;
    bool inner = false;
    loop.Post([&] {
        loop.CallAfter(20ms, [&] { inner = true; });
        EXPECT_EQ(RunEnd::Done, loop.RunUntil([&] { return inner; }, 10s));
    });
    loop.CallAfter(1h, [] {});
    EXPECT_EQ(RunEnd::TimedOut, loop.RunUntilIdle(1ms));
    EXPECT_TRUE(inner);
}
