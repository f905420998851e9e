#include "openhost/desktop/QtEventLoop.h"

#include <gtest/gtest.h>

using Loops = testing::Types<openhost::QtEventLoop>;
using WaitingLoops = Loops;

#include "tests/openhost/loop/WaitingEventLoopTests.h"
