// Activation and output of trace objects.

#include "openhost/objects/Traces.h"

#include "openhost/files/TemporaryFolder.h"
#include "tests/openhost/files/EnvironmentVariable.h"

#include "host/object_model.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace openhost::testing {

namespace {

/// A trace as the module makes one.
class TestTrace : public ZALTrace {
public:
    explicit TestTrace(const char* name, const char* file = "STDERR") : ZALTrace(name, "", 0, file, 16) {}
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

TEST_F(TraceObject, StartsOnWhenTheVariableNamesItOrAll)
{
    const auto startsOn = [](const char* variable, const char* name) {
        const EnvironmentVariable traces("OPENHOST_TRACES", variable);
        const TestTrace trace(name);
        EXPECT_TRUE(trace.Activation) << name;
        return IsOn(trace);
    };
    EXPECT_FALSE(startsOn("", "TraceTestOff"));
    EXPECT_TRUE(startsOn("Other,TraceTestNamed,More", "TraceTestNamed"));
    EXPECT_FALSE(startsOn("Other,TraceTestNamed,More", "TraceTestName"));
    EXPECT_TRUE(startsOn("*", "TraceTestAll"));
}

TEST_F(TraceObject, IsSwitchedByNameAlsoBeforeItIsMade)
{
    SwitchTraces("TraceTestOne", true);
    const TestTrace one("TraceTestOne");
    const TestTrace two("TraceTestTwo");
    EXPECT_TRUE(IsOn(one));
    EXPECT_FALSE(IsOn(two));
    SwitchTraces("TraceTestOne", false);
    EXPECT_FALSE(IsOn(one));
    SwitchTraces("TraceTestTwo", true);
    EXPECT_TRUE(IsOn(two));
}

TEST_F(TraceObject, IsSwitchedWithAllOthersLaterOnesIncluded)
{
    const TestTrace before("TraceTestBefore");
    SwitchTraces(true);
    const TestTrace after("TraceTestAfter");
    EXPECT_TRUE(IsOn(before));
    EXPECT_TRUE(IsOn(after));
    SwitchTraces(false);
    EXPECT_FALSE(IsOn(before));
    EXPECT_FALSE(IsOn(after));
}

TEST_F(TraceObject, WritesToARedirectionWithItsName)
{
    TestTrace trace("TraceTestRedirected");
    std::string received;
    RedirectTraces(
        [&](std::string_view name, std::string_view text) { received += std::string(name) + ":" + std::string(text); });
    trace.TraPut("one\n");
    trace.TraPut("");
    trace.TraPut("two, longer than the line buffer\n");
    EXPECT_EQ("TraceTestRedirected:one\nTraceTestRedirected:TraceTestRedirected:two, longer than the line "
              "buffer\n",
              received);
}

TEST_F(TraceObject, WritesToStandardErrorWithoutOne)
{
    TestTrace trace("TraceTestScreen");
    ::testing::internal::CaptureStderr();
    trace.TraPut("100% on the screen\n");
    EXPECT_EQ("100% on the screen\n", ::testing::internal::GetCapturedStderr());
}

TEST_F(TraceObject, AppendsToItsFile)
{
    const TemporaryFolder folder;
    const std::string file = folder.Path() / "trace.txt";
    {
        TestTrace trace("TraceTestFile", file.c_str());
        trace.TraPut("one\n");
        trace.TraPut("two\n");
    }
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    EXPECT_EQ("one\ntwo\n", text.str());
}

TEST_F(TraceObject, SurvivesAFileThatCannotBeWritten)
{
    TestTrace trace("TraceTestNowhere", "/nowhere/at/all/trace.txt");
    trace.TraPut("lost\n");
}

} // namespace

} // namespace openhost::testing
