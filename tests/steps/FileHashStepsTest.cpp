// The hash of a file step by step.

#include "tests/steps/Services.h"

#include "openhost/text/Utf.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <gmock/gmock.h>

#include <ostream>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

std::string Hash(const char* path = "/file")
{
    return ToUtf8(ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(path));
}

class FileHashSteps : public StepsFixture {
protected:
    FileHashSteps() { Begin(1); }

    /// Services anew, with a file of `size` bytes.
    static void Begin(std::uint32_t size)
    {
        Asked() = {};
        Asked().size = size;
        Asked().content.assign(16384, 'a');
    }
};

TEST_F(FileHashSteps, RunInTheirOrder)
{
    EXPECT_EQ(Hash("/a/b"), "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf");
    EXPECT_THAT(Calls(), ElementsAre("open /a/b rb", "size 5", "init 0", "read 5 1", "update 1", "final", "hex 16 32 0",
                                     "close 5"));
}

TEST_F(FileHashSteps, ReadThroughABufferOf16384Bytes)
{
    const auto reads = [](std::uint32_t size) {
        Begin(size);
        EXPECT_EQ(Hash().size(), 32u);
        return Calls({"read", "update"});
    };
    EXPECT_THAT(reads(16383), ElementsAre("read 5 16383", "update 16383"));
    EXPECT_THAT(reads(16384), ElementsAre("read 5 16384", "update 16384"));
    EXPECT_THAT(reads(16385), ElementsAre("read 5 16384", "update 16384", "read 5 1", "update 1"));
    EXPECT_THAT(reads(32768), ElementsAre("read 5 16384", "update 16384", "read 5 16384", "update 16384"));
}

TEST_F(FileHashSteps, OfTheLargestSizeGoThroughTheWholeFile)
{
    Asked().size = UINT32_MAX;
    EXPECT_EQ(Hash().size(), 32u);
    EXPECT_EQ(Asked().reads, 262'144u);
    EXPECT_EQ(Asked().calls[Asked().calls.size() - 5], "read 5 16383");
}

TEST_F(FileHashSteps, OpenNothingForAnEmptyPath)
{
    EXPECT_EQ(Hash(""), "");
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileHashSteps, EndWhereTheFileCannotBeOpened)
{
    Asked().openResult = E_FAIL;
    EXPECT_EQ(Hash(), "");
    EXPECT_THAT(Calls(), ElementsAre("open /file rb"));
}

TEST_F(FileHashSteps, EndWithoutAHandle)
{
    Asked().handle = 0;
    EXPECT_EQ(Hash(), "");
    EXPECT_THAT(Calls(), ElementsAre("open /file rb"));
}

/// A failure, and the calls up to it. The file is closed in each case.
struct Failure {
    const char* name;
    void (*cause)(Services&);
    Texts calls;

    friend std::ostream& operator<<(std::ostream& stream, const Failure& failure) { return stream << failure.name; }
};

class FailedFileHashStep : public FileHashSteps, public ::testing::WithParamInterface<Failure> {};

TEST_P(FailedFileHashStep, GivesNothingAndClosesTheFile)
{
    Asked().size = 16385;
    GetParam().cause(Asked());
    EXPECT_EQ(Hash(), "");

    Texts expected = {"open /file rb", "size 5"};
    expected.insert(expected.end(), GetParam().calls.begin(), GetParam().calls.end());
    expected.push_back("close 5");
    EXPECT_THAT(Calls(), ElementsAreArray(expected));
}

const Texts AllRead = {"init 0", "read 5 16384", "update 16384", "read 5 1", "update 1", "final"};

Texts First(std::size_t count)
{
    return {AllRead.begin(), AllRead.begin() + static_cast<std::ptrdiff_t>(count)};
}

INSTANTIATE_TEST_SUITE_P(
    Steps, FailedFileHashStep,
    ::testing::Values(Failure{"NoSize", [](Services& asked) { asked.sizeResult = E_FAIL; }, {}},
                      Failure{"EmptyFile", [](Services& asked) { asked.size = 0; }, {}},
                      Failure{"NoHash", [](Services& asked) { asked.initResult = E_FAIL; }, First(1)},
                      Failure{"FirstReadFails", [](Services& asked) { asked.failingRead = 1; }, First(2)},
                      Failure{"FirstReadIsShort", [](Services& asked) { asked.shortRead = 1; }, First(2)},
                      Failure{"FirstUpdateFails", [](Services& asked) { asked.failingUpdate = 1; }, First(3)},
                      Failure{"LastReadFails", [](Services& asked) { asked.failingRead = 2; }, First(4)},
                      Failure{"LastReadIsShort", [](Services& asked) { asked.shortRead = 2; }, First(4)},
                      Failure{"LastUpdateFails", [](Services& asked) { asked.failingUpdate = 2; }, First(5)},
                      Failure{"NoDigest", [](Services& asked) { asked.finalResult = E_FAIL; }, First(6)},
                      Failure{"LongerDigest", [](Services& asked) { asked.digestLength = 20; }, First(6)},
                      Failure{"ShorterDigest", [](Services& asked) { asked.digestLength = 15; }, First(6)}));

TEST_F(FileHashSteps, GiveNothingWhereTheDigitsAreNot32)
{
    for (const int digits : {0, 31, 33, -1}) {
        Begin(1);
        Asked().hexResult = digits;
        EXPECT_EQ(Hash(), "") << digits;
        EXPECT_EQ(Asked().calls.back(), "close 5");
    }
}

} // namespace

} // namespace openhost::testing
