#include "openhost/loop/ManualEventLoop.h"
#include "openhost/loop/PollEventLoop.h"

#include <gtest/gtest.h>

using Loops = testing::Types<openhost::ManualEventLoop, openhost::PollEventLoop>;
using WaitingLoops = testing::Types<openhost::PollEventLoop>;

#include "tests/openhost/loop/WaitingEventLoopTests.h"

// ---------------------------------------------------------------------------------------------
// The loop in use

TEST(CurrentEventLoop, IsAManualOneAtFirst)
{
    EXPECT_NE(nullptr, dynamic_cast<ManualEventLoop*>(&EventLoop::Current()));
}

TEST(CurrentEventLoop, InstallGivesBackTheOneOfBeforeWithWhatItHolds)
{
    bool called = false;
    EventLoop::Current().Post([&] { called = true; });
    auto before = EventLoop::Install(std::make_unique<PollEventLoop>());
    EXPECT_NE(nullptr, dynamic_cast<PollEventLoop*>(&EventLoop::Current()));
    EventLoop::Current().RunUntilIdle();
    EXPECT_FALSE(called);
    before->RunUntilIdle();
    EXPECT_TRUE(called);
    EventLoop::Install(std::move(before));
    EXPECT_NE(nullptr, dynamic_cast<ManualEventLoop*>(&EventLoop::Current()));
}
