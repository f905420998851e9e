#include "openhost/desktop/QtEventLoop.h"

#include <gtest/gtest.h>

using Loops = testing::Types<openhost::QtEventLoop>;
using WaitingLoops = Loops;

#include "tests/openhost/loop/WaitingEventLoopTests.h"

#include "openhost/desktop/QtDesktop.h"

#include <sys/resource.h>

#include <system_error>

TEST(QtDesktop, IsRefusedWithoutTheDescriptorsThatItNeeds)
{
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
    rlimit few = before;
    few.rlim_cur = 256; // the test itself has some
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &few));
    EXPECT_THROW(openhost::QtDesktop(), std::system_error);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &before));
    EXPECT_THROW(openhost::QtDesktop(), std::logic_error) << "there is one already";
}
