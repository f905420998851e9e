// What killed processes have left, and what it must not be taken for.

#include "FolderFixture.h"

#include "openhost/files/AtomicFile.h"
#include "openhost/files/Leftovers.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Leftovers : public FolderFixture {
protected:
    /// Lets a process make the file `name` or, where that ends in a separator, the folder, and die. It is `age` old.
    void Leave(const std::string& name, std::chrono::seconds age = std::chrono::hours(1)) const
    {
        const pid_t child = fork();
        if (child == 0) {
            if (name.ends_with('/')) {
                std::filesystem::create_directory(At(name));
                std::filesystem::permissions(At(name), std::filesystem::perms::owner_all);
                std::ofstream(At(name + "1")) << "half";
            } else {
                std::ofstream(At(name)) << "half";
            }
            MarkInUse(open(At(name).c_str(), O_RDONLY | O_CLOEXEC));
            _exit(0);
        }
        waitpid(child, nullptr, 0);
        std::filesystem::last_write_time(At(name), std::filesystem::file_time_type::clock::now() - age);
    }
};

TEST_F(Leftovers, AreClearedFilesAndFoldersAlike)
{
    Leave(".openhost-4711-1");
    Leave(".openhost-4711-2/");
    Leave("openhost-temporary-4711-1/");
    ClearLeftovers(folder_.Path());
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Leftovers, AreClearedBeforeAFileIsWritten)
{
    Leave(".openhost-4711-1");
    WriteFileAtomically(At("a"), "new");
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(Leftovers, AreClearedBesideATemporaryFolder)
{
    Leave("openhost-temporary-4711-1/");
    const char* before = std::getenv("TMPDIR");
    const std::string kept = before ? before : "";
    setenv("TMPDIR", folder_.Path().c_str(), 1);
    const TemporaryFolder folder;
    before ? setenv("TMPDIR", kept.c_str(), 1) : unsetenv("TMPDIR");
    EXPECT_THAT(Names(), ElementsAre(folder.Path().filename()));
}

TEST_F(Leftovers, StayWhileAProcessUsesThem)
{
    const std::string name = MakeTemporaryName();
    Leave(name);
    const int descriptor = open(At(name).c_str(), O_RDONLY | O_CLOEXEC);
    MarkInUse(descriptor);
    ClearLeftovers(folder_.Path());
    EXPECT_THAT(Names(), ElementsAre(name));
    close(descriptor);
}

TEST_F(Leftovers, StayWhileTheyAreYoung)
{
    Leave(".openhost-4711-1", std::chrono::seconds(0));
    ClearLeftovers(folder_.Path());
    EXPECT_THAT(Names(), ElementsAre(".openhost-4711-1"));
}

TEST_F(Leftovers, AreNeverFilesOfOtherNamesOrKinds)
{
    std::vector<std::string> names = {".openhost-",           ".openhost-1",    ".openhost-1-",
                                      ".openhost--1",         ".openhost-1-2x", ".openhost-x-2",
                                      "openhost-temporary-1", "openhost-1-2",   "openhost-temporary-1-2"};
    for (const std::string& name : names)
        Leave(name);
    std::filesystem::create_symlink(At("openhost-1-2"), At(".openhost-1-3"));
    names.emplace_back(".openhost-1-3");
    ClearLeftovers(folder_.Path());
    std::ranges::sort(names);
    EXPECT_EQ(names, Names());
}

TEST_F(Leftovers, AreNoneWhereNothingCanBeListed)
{
    ClearLeftovers(At("missing"));
    EXPECT_THAT(Names(), IsEmpty());
}

} // namespace
} // namespace openhost::testing
