// The trace object and the stopwatch.

#include "tests/support/FailingMemory.h"
#include "tests/support/HostFixture.h"

#include "openhost/objects/Traces.h"
#include "openhost/text/Utf.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <chrono>
#include <regex>

namespace openhost::testing {

namespace {

using Texts = std::vector<std::string>;

class Trace : public HostFixture {
protected:
    /// A piece of a trace text that counts how often it is asked for.
    const char* Piece()
    {
        ++pieces;
        return "piece";
    }
    int pieces = 0;
};

TEST_F(Trace, WritesTheJoinedPiecesAndALineEnd)
{
    VL_TRACE("Class::Function number " << 7 << " of " << ZALUnicodeString("\xC3\xA4") << ZALString("!"));
    EXPECT_EQ(Texts{"Class::Function number 7 of \xC3\xA4!\n"}, Traces());
}

TEST_F(Trace, BuildsNothingWhileItIsOff)
{
    SwitchTraces("ZALVelmartIntegration", false);
    VL_TRACE("text " << Piece());
    EXPECT_EQ(0, pieces);
    EXPECT_TRUE(Traces().empty());
    SwitchTraces("ZALVelmartIntegration", true);
    VL_TRACE("text " << Piece());
    EXPECT_EQ(1, pieces);
    EXPECT_EQ(Texts{"text piece\n"}, Traces());
}

/// VL_TRACE with streams that count themselves.
namespace counted {

int streams = 0;

class ZALOmxTextStream : public ::ZALOmxTextStream {
public:
    ZALOmxTextStream() { ++streams; }
};

void WriteOne()
{
    VL_TRACE("one");
}

} // namespace counted

TEST_F(Trace, MakesAStreamOnlyWhileItIsOn)
{
    SwitchTraces("ZALVelmartIntegration", false);
    counted::WriteOne();
    EXPECT_EQ(0, counted::streams);
    SwitchTraces("ZALVelmartIntegration", true);
    counted::WriteOne();
    EXPECT_EQ(1, counted::streams);
    EXPECT_EQ(Texts{"one\n"}, Traces());
}

TEST_F(Trace, IsLostWithoutMemoryAndTheCallerGoesOn)
{
    const std::string text(100, 'x');
    std::size_t before = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        before = Traces().size();
        int steps = 0;
        memory.During([&] {
            VL_TRACE("text " << text.c_str() << ZALUnicodeString(text.c_str()));
            ++steps;
        });
        EXPECT_EQ(1, steps);
        EXPECT_LE(Traces().size(), before + 1);
    });
    EXPECT_GE(failures, 4);
    EXPECT_EQ(Traces().size(), before + 1) << "with memory again";
    EXPECT_EQ("text " + text + text + "\n", Traces().back());
}

TEST_F(Trace, BuildsNothingWithoutAnActivation)
{
    const int* activation = std::exchange(ZALVelmartIntegrationDebug::Traces.Activation, nullptr);
    VL_TRACE("text " << Piece());
    ZALVelmartIntegrationDebug::Traces.Activation = activation;
    EXPECT_EQ(0, pieces);
    EXPECT_TRUE(Traces().empty());
}

TEST_F(Trace, AnyActivationButZeroCounts)
{
    const int negative = -1;
    const int* activation = std::exchange(ZALVelmartIntegrationDebug::Traces.Activation, &negative);
    VL_TRACE("text");
    ZALVelmartIntegrationDebug::Traces.Activation = activation;
    EXPECT_EQ(Texts{"text\n"}, Traces());
}

TEST_F(Trace, AnswersToItsName)
{
    SwitchTraces("ZALVelmartIntegration traces", false);
    VL_TRACE("one");
    RedirectTraces([this](std::string_view name, std::string_view) {
        EXPECT_EQ("ZALVelmartIntegration", name);
        ++pieces;
    });
    VL_TRACE("two");
    EXPECT_EQ(1, pieces);
    EXPECT_EQ(Texts{"one\n"}, Traces());
}

TEST_F(Trace, GoesToStandardErrorAtOnce)
{
    RedirectTraces({});
    ::testing::internal::CaptureStderr();
    VL_TRACE("to the screen");
    EXPECT_EQ("to the screen\n", ::testing::internal::GetCapturedStderr());
}

TEST_F(Trace, WritesTextsLongerThanItsLineBuffer)
{
    const std::string text(100000, 'x');
    VL_TRACE(text.c_str());
    EXPECT_EQ(Texts{text + "\n"}, Traces());
}

// ---------------------------------------------------------------------------------------------
// The stopwatch

using Clock = std::chrono::steady_clock;
namespace Chrono = ZALVelmartIntegrationDebug::Chrono;

std::int64_t WholeMilliseconds(Clock::duration duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

void SpinFor(Clock::duration duration)
{
    for (const Clock::time_point end = Clock::now() + duration; Clock::now() < end;)
        ;
}

TEST(Stopwatch, RoundsTowardZero)
{
    using namespace std::chrono_literals;
    // A run counts when the true value is certain: the calls of the clock around it give the same one.
    for (int certain = 0; certain < 3;) {
        const Clock::time_point beforeStart = Clock::now();
        Chrono::Start();
        const Clock::time_point afterStart = Clock::now();
        SpinFor(1600us);
        const Clock::time_point beforeRead = Clock::now();
        const std::uint64_t elapsed = Chrono::GetElapsed();
        const Clock::time_point afterRead = Clock::now();
        const std::int64_t least = WholeMilliseconds(beforeRead - afterStart);
        const std::int64_t most = WholeMilliseconds(afterRead - beforeStart);
        ASSERT_GE(static_cast<std::int64_t>(elapsed), least);
        ASSERT_LE(static_cast<std::int64_t>(elapsed), most);
        certain += most == 1;
    }
}

TEST(Stopwatch, RestartsWithASecondStart)
{
    Chrono::Start();
    SpinFor(std::chrono::milliseconds(30));
    EXPECT_GE(Chrono::GetElapsed(), 30U);
    const Clock::time_point restarted = Clock::now();
    Chrono::Start();
    const std::uint64_t elapsed = Chrono::GetElapsed();
    EXPECT_LE(static_cast<std::int64_t>(elapsed), WholeMilliseconds(Clock::now() - restarted));
}

TEST(Stopwatch, TellsTheMillisecondsAsAText)
{
    const Clock::time_point started = Clock::now();
    Chrono::Start();
    const std::string text = ToUtf8(Chrono::GetElapsedAsString());
    std::smatch match;
    ASSERT_TRUE(std::regex_match(text, match, std::regex("(0|[1-9][0-9]*) ms"))) << text;
    EXPECT_LE(std::stoll(match[1]), WholeMilliseconds(Clock::now() - started));
}

TEST(Stopwatch, TellsNothingWithoutMemory)
{
    // The clock's own value, before a first start, is too long for the room inside the string.
    std::string text;
    WithEachAllocationFailing([&](FailingMemory& memory) {
        memory.During([&] {
            const ZALUnicodeString elapsed = Chrono::GetElapsedAsString();
            text = elapsed.GetLengthInChar() > 0 ? "told" : "";
        });
        EXPECT_EQ(text, memory.HasRunOut() ? "" : "told");
    });
}

} // namespace

} // namespace openhost::testing
