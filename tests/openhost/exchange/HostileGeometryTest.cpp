// The program on documents that the solid kernel does not survive.

#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/HostileShapes.h"
#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/wait.h>

namespace openhost::testing {

namespace {

class HostileGeometry : public ::testing::TestWithParam<std::string> {
protected:
    /// Has the command work on a part with `geometry`, which it must refuse for the reason `reason`.
    void ExpectRefused(DocumentGeometry geometry, const std::string& options, const std::string& reason)
    {
        CadDocument document;
        document.geometry = std::move(geometry);
        WriteDocument(document, folder_.Path() / "part.ZALPart");
        // With a sanitizer a crash is to remain one.
        const std::string command = "cd '" + folder_.Path().string() +
                                    "' && ASAN_OPTIONS=handle_segv=0:handle_sigbus=0:handle_sigfpe=0 " + BuildDir() +
                                    "/bin/openhost " + GetParam() + options + " part.ZALPart made >out 2>err";
        const int status = std::system(command.c_str());
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(1, WEXITSTATUS(status));
        std::ifstream file(folder_.Path() / "err");
        EXPECT_EQ("openhost: part.ZALPart: " + reason + "\n", std::string(std::istreambuf_iterator<char>(file), {}));
        EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "made"));
    }

    TemporaryFolder folder_;
};

} // namespace

TEST_P(HostileGeometry, ThatCrashesTheKernelEndsInAnError)
{
    ExpectRefused(CrashesDecoding(), "", "the solid kernel has crashed");
}

INSTANTIATE_TEST_SUITE_P(Commands, HostileGeometry, ::testing::Values("export", "picture"));

} // namespace openhost::testing
