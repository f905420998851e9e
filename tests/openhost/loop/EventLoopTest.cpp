#include "openhost/loop/ManualEventLoop.h"
#include "openhost/loop/UvEventLoop.h"

#include <gtest/gtest.h>

using Loops = testing::Types<openhost::ManualEventLoop, openhost::UvEventLoop>;
using WaitingLoops = testing::Types<openhost::UvEventLoop>;

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
    auto before = EventLoop::Install(std::make_unique<UvEventLoop>());
    EXPECT_NE(nullptr, dynamic_cast<UvEventLoop*>(&EventLoop::Current()));
    EventLoop::Current().RunUntilIdle();
    EXPECT_FALSE(called);
    before->RunUntilIdle();
    EXPECT_TRUE(called);
    EventLoop::Install(std::move(before));
    EXPECT_NE(nullptr, dynamic_cast<ManualEventLoop*>(&EventLoop::Current()));
}
