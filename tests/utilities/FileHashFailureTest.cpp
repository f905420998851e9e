// The hash of a file on files and hashes of the test's own: what is asked for, and where it ends.

#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"

#include "openhost/text/Utf.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <gmock/gmock.h>

#include <functional>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

struct HashedFile {
    explicit HashedFile(std::uint32_t size = 1)
    {
        files->size = size;
        files->content.assign(16384, 'a');
    }
    static std::string Hash(const char* path = "/file")
    {
        return ToUtf8(ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(path));
    }

    CallLog log;
    Installed<ScriptedFiles> files{log};
    Installed<ScriptedHashes> hashes{log};
};

TEST(ScriptedFileHash, AsksForEachStepInItsOrder)
{
    HashedFile file;
    EXPECT_EQ("a0a1a2a3a4a5a6a7a8a9aaabacadaeaf", file.Hash("/a/b"));
    EXPECT_THAT(file.log.Take(), ElementsAre("open /a/b rb", "size 5", "init 0", "read 5 1", "update 1", "final",
                                             "hex 16 32 0", "close 5"));
}

TEST(ScriptedFileHash, ReadsThroughABufferOf16384Bytes)
{
    const std::pair<std::uint32_t, Texts> rows[] = {
        {16383, {"read 5 16383", "update 16383"}},
        {16384, {"read 5 16384", "update 16384"}},
        {16385, {"read 5 16384", "update 16384", "read 5 1", "update 1"}},
        {32768, {"read 5 16384", "update 16384", "read 5 16384", "update 16384"}}};
    for (const auto& [size, calls] : rows) {
        HashedFile file(size);
        EXPECT_EQ(32U, file.Hash().size()) << size;
        EXPECT_EQ(calls, file.log.Take({"read", "update"})) << size;
    }
}

TEST(ScriptedFileHash, GoesThroughTheWholeOfTheLargestFile)
{
    HashedFile file(UINT32_MAX);
    EXPECT_EQ(32U, file.Hash().size());
    EXPECT_EQ(262'144U, file.files->reads);
    EXPECT_EQ("read 5 16383", file.log.Take({"read"}).back());
}

TEST(ScriptedFileHash, OpensNothingForAnEmptyPath)
{
    HashedFile file;
    EXPECT_EQ("", file.Hash(""));
    EXPECT_THAT(file.log.Take(), IsEmpty());
}

TEST(ScriptedFileHash, ClosesNothingThatHasNotBeenOpened)
{
    for (const bool fails : {true, false}) {
        HashedFile file;
        if (fails)
            file.files->openResult = E_FAIL;
        else
            file.files->handle = 0;
        EXPECT_EQ("", file.Hash());
        EXPECT_THAT(file.log.Take(), ElementsAre("open /file rb")) << fails;
    }
}

TEST(ScriptedFileHash, IsEmptyAfterAFailureAndClosesTheFile)
{
    const Texts all = {"init 0", "read 5 16384", "update 16384", "read 5 1", "update 1", "final"};
    struct Row {
        const char* failure;
        std::function<void(ScriptedFiles&, ScriptedHashes&)> cause;
        int calls; ///< that are made after the size has been asked for
    };
    const Row rows[] = {{"no size", [](auto& files, auto&) { files.sizeResult = E_FAIL; }, 0},
                        {"an empty file", [](auto& files, auto&) { files.size = 0; }, 0},
                        {"no hash", [](auto&, auto& hashes) { hashes.initResult = E_FAIL; }, 1},
                        {"the first read", [](auto& files, auto&) { files.failingRead = 1; }, 2},
                        {"a short first read", [](auto& files, auto&) { files.shortRead = 1; }, 2},
                        {"the first update", [](auto&, auto& hashes) { hashes.failingUpdate = 1; }, 3},
                        {"the last read", [](auto& files, auto&) { files.failingRead = 2; }, 4},
                        {"a short last read", [](auto& files, auto&) { files.shortRead = 2; }, 4},
                        {"the last update", [](auto&, auto& hashes) { hashes.failingUpdate = 2; }, 5},
                        {"no digest", [](auto&, auto& hashes) { hashes.finalResult = E_FAIL; }, 6},
                        {"a longer digest", [](auto&, auto& hashes) { hashes.digestLength = 20; }, 6},
                        {"a shorter digest", [](auto&, auto& hashes) { hashes.digestLength = 15; }, 6}};
    for (const Row& row : rows) {
        HashedFile file(16385);
        row.cause(*file.files, *file.hashes);
        EXPECT_EQ("", file.Hash()) << row.failure;
        Texts expected = {"open /file rb", "size 5"};
        expected.insert(expected.end(), all.begin(), all.begin() + row.calls);
        expected.push_back("close 5");
        EXPECT_THAT(file.log.Take(), ElementsAreArray(expected)) << row.failure;
    }
}

TEST(ScriptedFileHash, IsEmptyWhereTheDigitsAreNot32)
{
    for (const int digits : {0, 31, 33, -1}) {
        HashedFile file;
        file.hashes->hexResult = digits;
        EXPECT_EQ("", file.Hash()) << digits;
        EXPECT_EQ("close 5", file.log.Take().back()) << digits;
    }
}

} // namespace

} // namespace openhost::testing
