// Activation and output of trace objects.

#include "openhost/objects/Traces.h"

#include "openhost/files/TemporaryFolder.h"

#include "host/object_model.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace openhost::testing {

namespace {

/// Sets the variable that switches traces on from the start, for as long as it lives.
class TracesVariable {
public:
    explicit TracesVariable(const char* value)
    {
        if (const char* before = std::getenv(Name))
            before_ = before;
        setenv(Name, value, 1);
    }
    ~TracesVariable()
    {
        if (before_)
            setenv(Name, before_->c_str(), 1);
        else
            unsetenv(Name);
    }

private:
    static constexpr const char* Name = "OPENHOST_TRACES";
    std::optional<std::string> before_;
};

bool IsOn(const ZALTrace& trace)
{
    return trace.Activation && *trace.Activation;
}

class TraceObject : public ::testing::Test {
protected:
    ~TraceObject() override
    {
        RedirectTraces({});
        SwitchTraces(false);
    }
};

TEST_F(TraceObject, StartsOff)
{
    const TracesVariable variable("");
    const ZALTrace trace("TraceTestOff", "", 0, "STDERR", 16);
    ASSERT_TRUE(trace.Activation);
    EXPECT_FALSE(IsOn(trace));
}

TEST_F(TraceObject, StartsOnWhenTheVariableNamesIt)
{
    const TracesVariable variable("Other,TraceTestNamed,More");
    const ZALTrace named("TraceTestNamed", "", 0, "STDERR", 16);
    const ZALTrace similar("TraceTestName", "", 0, "STDERR", 16);
    EXPECT_TRUE(IsOn(named));
    EXPECT_FALSE(IsOn(similar));
}

TEST_F(TraceObject, StartsOnWhenTheVariableNamesAll)
{
    const TracesVariable variable("*");
    const ZALTrace trace("TraceTestAll", "", 0, "STDERR", 16);
    EXPECT_TRUE(IsOn(trace));
}

TEST_F(TraceObject, IsSwitchedByName)
{
    const ZALTrace one("TraceTestOne", "", 0, "STDERR", 16);
    const ZALTrace two("TraceTestTwo", "", 0, "STDERR", 16);
    SwitchTraces("TraceTestOne", true);
    EXPECT_TRUE(IsOn(one));
    EXPECT_FALSE(IsOn(two));
    SwitchTraces("TraceTestOne", false);
    EXPECT_FALSE(IsOn(one));
}

TEST_F(TraceObject, IsSwitchedByNameBeforeItIsMade)
{
    SwitchTraces("TraceTestEarly", true);
    const ZALTrace trace("TraceTestEarly", "", 0, "STDERR", 16);
    EXPECT_TRUE(IsOn(trace));
}

TEST_F(TraceObject, IsSwitchedWithAllOthersLaterOnesIncluded)
{
    const ZALTrace before("TraceTestBefore", "", 0, "STDERR", 16);
    SwitchTraces(true);
    const ZALTrace after("TraceTestAfter", "", 0, "STDERR", 16);
    EXPECT_TRUE(IsOn(before));
    EXPECT_TRUE(IsOn(after));
    SwitchTraces(false);
    EXPECT_FALSE(IsOn(before));
    EXPECT_FALSE(IsOn(after));
}

TEST_F(TraceObject, WritesToARedirectionWithItsName)
{
    ZALTrace trace("TraceTestRedirected", "", 0, "STDERR", 16);
    std::string received;
    RedirectTraces(
        [&](std::string_view name, std::string_view text) { received += std::string(name) + ":" + std::string(text); });
    trace.TraPut("one\n");
    trace.TraPut("");
    trace.TraPut("two, longer than the line buffer\n");
    EXPECT_EQ(received, "TraceTestRedirected:one\nTraceTestRedirected:TraceTestRedirected:two, longer than the line "
                        "buffer\n");
}

TEST_F(TraceObject, WritesToStandardErrorWithoutOne)
{
    ZALTrace trace("TraceTestScreen", "", 0, "STDERR", 16);
    ::testing::internal::CaptureStderr();
    trace.TraPut("100% on the screen\n");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "100% on the screen\n");
}

TEST_F(TraceObject, AppendsToItsFile)
{
    const TemporaryFolder folder;
    const std::string file = folder.Path() / "trace.txt";
    {
        ZALTrace trace("TraceTestFile", "", 0, file.c_str(), 16);
        trace.TraPut("one\n");
        trace.TraPut("two\n");
    }
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    EXPECT_EQ(text.str(), "one\ntwo\n");
}

TEST_F(TraceObject, SurvivesAFileThatCannotBeWritten)
{
    ZALTrace trace("TraceTestNowhere", "", 0, "/nowhere/at/all/trace.txt", 16);
    trace.TraPut("lost\n");
}

} // namespace

} // namespace openhost::testing
