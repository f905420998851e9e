// The scripted host as a fixture of tests.
#pragma once

#include "tests/support/ScriptedHost.h"

#include <gtest/gtest.h>

namespace openhost::testing {

/// What the host is like stands at ScriptedHost.
class HostFixture : public ::testing::Test, protected ScriptedHost {};

} // namespace openhost::testing
