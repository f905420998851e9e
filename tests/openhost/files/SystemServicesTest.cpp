#include "EnvironmentVariable.h"

#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"

#include "host/files.h"
#include "host/system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>

#include <sys/wait.h>
#include <unistd.h>

using openhost::ToUtf8;

namespace {

using openhost::testing::EnvironmentVariable;

// ---------------------------------------------------------------------------------------------
// Environment and time

TEST(ZALGetEnv, ReadsAVariableAlsoAnEmptyOne)
{
    for (const char* text : {"a\xC3\xA4", ""}) {
        const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", text);
        ZALUnicodeString value("before");
        EXPECT_EQ(S_OK, ZALGetEnv("OPENHOST_TEST_VARIABLE", value));
        EXPECT_EQ(text, ToUtf8(value));
    }
}

TEST(ZALGetEnv, FailsForAVariableThatIsNotDefined)
{
    const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", nullptr);
    ZALUnicodeString value("before");
    for (const char* name : {"OPENHOST_TEST_VARIABLE", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(E_FAIL, ZALGetEnv(name, value)) << (name ? name : "null");
    EXPECT_EQ("before", ToUtf8(value));
}

TEST(ZALSleep, BlocksForItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    ZALSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

// ---------------------------------------------------------------------------------------------
// Path variables

TEST(ZALGetOfficialVariable, IsEmptyForAnUnknownNameAndUnnamedInstallation)
{
    const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", "/secret");
    const EnvironmentVariable installation("ZALInstallPath", nullptr);
    for (const char* name : {"Unknown", "zaltemp", "", "OPENHOST_TEST_VARIABLE", "ZALInstallPath"})
        EXPECT_EQ(ZALUnicodeString(), ZALGetOfficialVariable(name)) << name;
    EXPECT_EQ(ZALUnicodeString(), ZALGetOfficialVariable(nullptr));
}

TEST(ZALGetOfficialVariable, PrefersWhatWasSetToTheEnvironment)
{
    for (const char* name : {"ZALInstallPath", "ZALTemp"}) {
        const EnvironmentVariable variable(name, "/from/environment");
        EXPECT_EQ("/from/environment", ToUtf8(ZALGetOfficialVariable(name)));
        openhost::SetPathVariable(name, "/set/\xC3\xA4");
        EXPECT_EQ("/set/\xC3\xA4", ToUtf8(ZALGetOfficialVariable(name)));
        openhost::UnsetPathVariable(name);
        EXPECT_EQ("/from/environment", ToUtf8(ZALGetOfficialVariable(name)));
    }
}

TEST(ZALGetOfficialVariable, NamesAPrivateFolderForTemporaryFiles)
{
    for (const char* environment : {static_cast<const char*>(nullptr), ""}) {
        const EnvironmentVariable variable("ZALTemp", environment);
        const ZALUnicodeString folder = ZALGetOfficialVariable("ZALTemp");
        ZALFileStatus status;
        ASSERT_EQ(S_OK, ZALFileStat(folder, status, 0));
        EXPECT_EQ(status.Mode, ZALFileTypeDirectory | 0700U);
        EXPECT_EQ(ZALGetOfficialVariable("ZALTemp"), folder);
    }
}

TEST(ZALGetOfficialVariable, MakesARemovedFolderForTemporaryFilesAgain)
{
    const EnvironmentVariable variable("ZALTemp", nullptr);
    const auto set = std::make_shared<openhost::TemporaryFolder>();
    for (const bool isSet : {false, true}) {
        if (isSet)
            openhost::SetPathVariable("ZALTemp", set);
        const ZALUnicodeString folder = ZALGetOfficialVariable("ZALTemp");
        std::filesystem::remove_all(ToUtf8(folder));
        EXPECT_EQ(folder, ZALGetOfficialVariable("ZALTemp"));
        ZALFileStatus status;
        ASSERT_EQ(S_OK, ZALFileStat(folder, status, 0)) << isSet;
        EXPECT_EQ(ZALFileTypeDirectory | 0700U, status.Mode);
    }
    openhost::UnsetPathVariable("ZALTemp");
}

TEST(ZALGetOfficialVariable, IsEmptyWhereNoFolderForTemporaryFilesCanBe)
{
    const openhost::TemporaryFolder parent;
    const EnvironmentVariable temporaryFiles("TMPDIR", parent.Path().c_str());
    openhost::SetPathVariable("ZALTemp", std::make_shared<openhost::TemporaryFolder>());
    std::filesystem::remove_all(parent.Path());
    EXPECT_EQ(ZALUnicodeString(), ZALGetOfficialVariable("ZALTemp"));
    openhost::UnsetPathVariable("ZALTemp");
}

TEST(PathVariables, TakesFurtherNames)
{
    openhost::SetPathVariable("Further", "/a");
    EXPECT_EQ("/a", openhost::GetPathVariable("Further"));
    openhost::UnsetPathVariable("Further");
    EXPECT_EQ("", openhost::GetPathVariable("Further"));
    openhost::UnsetPathVariable("Further");
}

TEST(PathVariablesDeathTest, RemovesThePrivateFolderWhenTheProcessEnds)
{
    // The process that ends runs this test from its beginning, so its folders stand below those of this one.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const openhost::TemporaryFolder parent;
    const EnvironmentVariable temporaryFiles("TMPDIR", parent.Path().c_str());
    const EnvironmentVariable variable("ZALTemp", nullptr);

    const auto endWithAFileInTheFolder = [&] {
        const std::filesystem::path folder = openhost::GetPathVariable("ZALTemp");
        std::ofstream(folder / "a") << "content";
        std::exit(folder.parent_path() == parent.Path() && std::filesystem::exists(folder / "a") ? 0 : 1);
    };
    EXPECT_EXIT(endWithAFileInTheFolder(), testing::ExitedWithCode(0), "");

    const std::filesystem::recursive_directory_iterator entries(parent.Path());
    EXPECT_EQ(1, std::distance(begin(entries), end(entries)));
}

// ---------------------------------------------------------------------------------------------
// Temporary folders

TEST(TemporaryFolder, IsNewEachTimeAndGoesWithAllButTheTargetsOfItsLinks)
{
    const openhost::TemporaryFolder other;
    std::ofstream(other.Path() / "b") << "content";
    std::filesystem::path path;
    {
        const openhost::TemporaryFolder folder;
        path = folder.Path();
        EXPECT_NE(other.Path(), path);
        std::filesystem::create_directories(path / "sub" / "sub");
        std::ofstream(path / "sub" / "a") << "content";
        std::filesystem::create_directory_symlink(other.Path(), path / "link");
        EXPECT_TRUE(std::filesystem::exists(path / "link" / "b"));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(std::filesystem::exists(other.Path() / "b"));
}

TEST(TemporaryFolder, StaysWhenAForkedProcessEnds)
{
    auto folder = std::make_unique<openhost::TemporaryFolder>();
    const std::filesystem::path path = folder->Path();
    const pid_t child = fork();
    if (child == 0) {
        folder.reset();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(TemporaryFolder, StandsInTheNamedFolderOfTheSystem)
{
    const openhost::TemporaryFolder parent;
    const EnvironmentVariable variable("TMPDIR", parent.Path().c_str());
    EXPECT_EQ(openhost::TemporaryFolder().Path().parent_path(), parent.Path());
}

TEST(TemporaryFolder, StandsNowhereElseThanInTheNamedOne)
{
    const openhost::TemporaryFolder parent;
    const std::string missing = parent.Path() / "missing";
    const EnvironmentVariable variable("TMPDIR", missing.c_str());
    try {
        const openhost::TemporaryFolder folder;
        ADD_FAILURE() << folder.Path();
    } catch (const std::system_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("the folder for temporary files cannot be used: " + missing));
    }
}

// ---------------------------------------------------------------------------------------------
// Files below the folder of a path variable

class FileOfAVariable : public testing::Test {
protected:
    FileOfAVariable()
    {
        openhost::SetPathVariable("Root", folder_.Path());
        std::filesystem::create_directories(folder_.Path() / "sub");
        std::ofstream(folder_.Path() / "sub" / "a.js") << "x";
    }
    ~FileOfAVariable() override { openhost::UnsetPathVariable("Root"); }

    static HRESULT Find(const char* relativePath, ZALUnicodeString& path, const char* name = "Root")
    {
        path = "before";
        return ZALGetFilePathFromOfficialVariable(relativePath, name, path);
    }
    openhost::TemporaryFolder folder_;
};

TEST_F(FileOfAVariable, IsFoundWithEitherSeparator)
{
    ZALUnicodeString path;
    for (const char* relativePath : {"sub\\a.js", "sub/a.js", "\\sub/a.js"}) {
        EXPECT_EQ(S_OK, Find(relativePath, path)) << relativePath;
        ZALFileStatus status;
        EXPECT_EQ(S_OK, ZALFileStat(path, status, 0));
        EXPECT_EQ(1U, status.Size);
    }
}

TEST_F(FileOfAVariable, IsNotFoundWhereNothingStandsOrByAWayUp)
{
    ZALUnicodeString path;
    for (const char* relativePath : {"missing", "sub/missing", "sub/../sub/a.js", ".."}) {
        EXPECT_EQ(E_FAIL, Find(relativePath, path)) << relativePath;
        EXPECT_EQ(ZALUnicodeString(), path);
    }
    EXPECT_EQ(E_FAIL, Find("sub/a.js", path, "Unknown"));
    EXPECT_EQ(E_FAIL, Find("sub/a.js", path, nullptr));
    EXPECT_EQ(ZALUnicodeString(), path);
}

} // namespace
