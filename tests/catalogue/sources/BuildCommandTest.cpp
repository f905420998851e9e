// The command that makes a catalogue of a folder.

#include "tests/support/Files.h"
#include "tests/support/Places.h"
#include "tests/support/SolidDocuments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <string>
#include <thread>

#include <spawn.h>
#include <sys/wait.h>

namespace catalogue::testing {

namespace {

using openhost::testing::ReadFile;
using openhost::testing::WriteBytes;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class BuildCommand : public ::testing::Test {
protected:
    BuildCommand() { parts_.Box("parts/a.ZALPart", "A", {0, 0, 0}, {10, 5, 2}); }

    /// Runs the program with `arguments`, words of a shell, in the folder; its exit status.
    int Run(const std::string& arguments) const
    {
        const int status = std::system(("cd " + parts_.Path("").string() + " && " + BuildDir() +
                                        "/bin/velmart-catalogue " + arguments + " >out 2>err")
                                           .c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string Output() const { return ReadFile(parts_.Path("out")); }
    std::string Errors() const { return ReadFile(parts_.Path("err")); }

    openhost::testing::SolidDocuments parts_;
};

} // namespace

TEST_F(BuildCommand, TellsWhatTheCatalogueHas)
{
    EXPECT_EQ(0, Run("build parts root"));
    EXPECT_EQ("1 item in root: 1 new or changed, 0 removed\n", Output());
    EXPECT_EQ("", Errors());
    EXPECT_EQ(0, Run("build parts root"));
    EXPECT_EQ("1 item in root: 0 new or changed, 0 removed\n", Output());
    EXPECT_EQ(0, Run("list --root root"));
    EXPECT_EQ("a                           A\n", Output());
}

TEST_F(BuildCommand, ListsWhatIsLeftOutAndKeepsTheList)
{
    WriteBytes(parts_.PlaceOf("parts/bad.step"), "no STEP");
    EXPECT_EQ(0, Run("build parts root"));
    EXPECT_THAT(Errors(), HasSubstr("left out: bad.step: "));
    EXPECT_THAT(Errors(), EndsWith("stands in root/left-out.txt\n"));
    EXPECT_THAT(ReadFile(parts_.Path("root/left-out.txt")), HasSubstr("bad.step: "));
    std::filesystem::remove(parts_.Path("parts/bad.step"));
    EXPECT_EQ(0, Run("build parts root"));
    EXPECT_EQ("", Errors());
    EXPECT_FALSE(std::filesystem::exists(parts_.Path("root/left-out.txt")));
}

TEST_F(BuildCommand, ShortensALongListAndKeepsAllOfIt)
{
    for (int number = 10; number < 35; ++number)
        WriteBytes(parts_.PlaceOf("parts/bad" + std::to_string(number) + ".ZALPart"), "no document");
    EXPECT_EQ(0, Run("build parts root"));
    EXPECT_THAT(Errors(), HasSubstr("bad29.ZALPart"));
    EXPECT_THAT(Errors(), Not(HasSubstr("bad30.ZALPart")));
    EXPECT_THAT(Errors(), HasSubstr("\nand 5 others\n"));
    EXPECT_THAT(ReadFile(parts_.Path("root/left-out.txt")), HasSubstr("bad34.ZALPart"));
}

TEST_F(BuildCommand, FailsWhenNothingBecameAnItem)
{
    WriteBytes(parts_.PlaceOf("bad/bad.step"), "no STEP");
    EXPECT_EQ(1, Run("build bad root"));
    EXPECT_THAT(Errors(), HasSubstr("velmart-catalogue: no file of bad became an item\n"));
    EXPECT_EQ(1, Run("build nowhere root"));
    EXPECT_THAT(Errors(), EndsWith("nowhere: no such folder\n"));
}

TEST_F(BuildCommand, RefusesWrongUse)
{
    EXPECT_EQ(2, Run("build parts"));
    EXPECT_EQ(2, Run("build parts root other"));
    EXPECT_EQ(2, Run("build parts root --workers 0"));
    EXPECT_EQ(2, Run("build parts root --seconds x"));
    EXPECT_EQ(2, Run("build parts root --rerty"));
    EXPECT_THAT(Errors(), HasSubstr("--retry"));
    EXPECT_FALSE(std::filesystem::exists(parts_.Path("root")));
}

TEST_F(BuildCommand, EndsInOrderAtASignal)
{
    for (int number = 0; number < 40; ++number)
        parts_.Box("parts/" + std::to_string(number) + ".ZALPart", "P", {0, 0, 0}, {10, 5, 2});
    const std::string program = BuildDir() + "/bin/velmart-catalogue";
    const std::string folder = parts_.Path("parts");
    const std::string root = parts_.Path("root");
    const char* arguments[] = {program.c_str(), "build", folder.c_str(), root.c_str(), nullptr};
    pid_t process = 0;
    ASSERT_EQ(0, posix_spawn(&process, program.c_str(), nullptr, nullptr, const_cast<char**>(arguments), environ));
    // By then it has begun.
    const auto madeOne = [&] {
        std::error_code error;
        return std::filesystem::exists(root + "/files") &&
               std::ranges::distance(std::filesystem::directory_iterator(root + "/files", error)) > 1;
    };
    while (!madeOne() && waitpid(process, nullptr, WNOHANG) == 0)
        std::this_thread::yield();
    kill(process, SIGINT);
    int status = 0;
    ASSERT_EQ(process, waitpid(process, &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(128 + SIGINT, WEXITSTATUS(status));
    EXPECT_EQ(0, Run("build parts root"));
    EXPECT_THAT(Output(), HasSubstr("41 items in root: "));
    EXPECT_THAT(Output(), Not(HasSubstr(" 41 new or changed"))) << "what was made stays";
}

} // namespace catalogue::testing
