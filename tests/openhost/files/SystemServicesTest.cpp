#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/text/Utf.h"

#include "host/files.h"
#include "host/system.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

using openhost::ToUtf8;

namespace {

/// Sets or removes an environment variable until the end of a test.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : name_(name)
    {
        const char* const before = std::getenv(name);
        wasSet_ = before != nullptr;
        before_ = before ? before : "";
        Set(value);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { Set(wasSet_ ? before_.c_str() : nullptr); }

private:
    void Set(const char* value)
    {
        if (value)
            setenv(name_, value, 1);
        else
            unsetenv(name_);
    }

    const char* name_;
    bool wasSet_;
    std::string before_;
};

// ---------------------------------------------------------------------------------------------
// Environment and time

TEST(ZALGetEnv, ReadsAVariable)
{
    const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", "a\xC3\xA4");
    ZALUnicodeString value;
    EXPECT_EQ(ZALGetEnv("OPENHOST_TEST_VARIABLE", value), S_OK);
    EXPECT_EQ(value, ZALUnicodeString(u"a\u00E4"));
}

TEST(ZALGetEnv, TakesAnEmptyValueForDefined)
{
    const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", "");
    ZALUnicodeString value("before");
    EXPECT_EQ(ZALGetEnv("OPENHOST_TEST_VARIABLE", value), S_OK);
    EXPECT_EQ(value, ZALUnicodeString());
}

TEST(ZALGetEnv, FailsForAVariableThatIsNotDefined)
{
    const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", nullptr);
    ZALUnicodeString value("before");
    EXPECT_EQ(ZALGetEnv("OPENHOST_TEST_VARIABLE", value), E_FAIL);
    EXPECT_EQ(ZALGetEnv("", value), E_FAIL);
    EXPECT_EQ(ZALGetEnv(nullptr, value), E_FAIL);
    EXPECT_EQ(value, ZALUnicodeString("before"));
}

TEST(ZALSleep, BlocksForItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    ZALSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

// ---------------------------------------------------------------------------------------------
// Path variables

TEST(ZALGetOfficialVariable, IsEmptyForAnUnknownName)
{
    EXPECT_EQ(ZALGetOfficialVariable("Unknown"), ZALUnicodeString());
    EXPECT_EQ(ZALGetOfficialVariable("zaltemp"), ZALUnicodeString());
    EXPECT_EQ(ZALGetOfficialVariable(""), ZALUnicodeString());
    EXPECT_EQ(ZALGetOfficialVariable(nullptr), ZALUnicodeString());
}

TEST(ZALGetOfficialVariable, HandsOutNoOtherVariableOfTheEnvironment)
{
    const EnvironmentVariable variable("OPENHOST_TEST_VARIABLE", "/secret");
    EXPECT_EQ(ZALGetOfficialVariable("OPENHOST_TEST_VARIABLE"), ZALUnicodeString());
}

TEST(ZALGetOfficialVariable, PrefersWhatWasSetToTheEnvironment)
{
    const EnvironmentVariable variable("ZALInstallPath", "/from/environment");
    EXPECT_EQ(ToUtf8(ZALGetOfficialVariable("ZALInstallPath")), "/from/environment");

    openhost::SetPathVariable("ZALInstallPath", "/set/\xC3\xA4");
    EXPECT_EQ(ZALGetOfficialVariable("ZALInstallPath"), ZALUnicodeString(u"/set/\u00E4"));

    openhost::UnsetPathVariable("ZALInstallPath");
    EXPECT_EQ(ToUtf8(ZALGetOfficialVariable("ZALInstallPath")), "/from/environment");
}

TEST(ZALGetOfficialVariable, HasNoInstallationUnlessOneIsNamed)
{
    const EnvironmentVariable variable("ZALInstallPath", nullptr);
    EXPECT_EQ(ZALGetOfficialVariable("ZALInstallPath"), ZALUnicodeString());
}

TEST(ZALGetOfficialVariable, NamesAPrivateFolderForTemporaryFiles)
{
    for (const char* environment : {static_cast<const char*>(nullptr), ""}) {
        const EnvironmentVariable variable("ZALTemp", environment);
        const ZALUnicodeString folder = ZALGetOfficialVariable("ZALTemp");
        ZALFileStatus status;
        ASSERT_EQ(ZALFileStat(folder, status, 0), S_OK);
        EXPECT_EQ(status.Mode, ZALFileTypeDirectory | 0700U);
        EXPECT_EQ(ZALGetOfficialVariable("ZALTemp"), folder);
    }
}

TEST(ZALGetOfficialVariable, TakesTheFolderOfTemporaryFilesFromTheEnvironment)
{
    const EnvironmentVariable variable("ZALTemp", "/some/where");
    EXPECT_EQ(ToUtf8(ZALGetOfficialVariable("ZALTemp")), "/some/where");
}

TEST(PathVariables, TakesFurtherNames)
{
    openhost::SetPathVariable("Further", "/a");
    EXPECT_EQ(openhost::GetPathVariable("Further"), "/a");
    openhost::UnsetPathVariable("Further");
    EXPECT_EQ(openhost::GetPathVariable("Further"), "");
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
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

// ---------------------------------------------------------------------------------------------
// Temporary folders

TEST(TemporaryFolder, IsNewEachTimeAndGoesWithAllThatIsInIt)
{
    std::filesystem::path path;
    {
        const openhost::TemporaryFolder folder;
        const openhost::TemporaryFolder other;
        path = folder.Path();
        EXPECT_NE(path, other.Path());
        std::filesystem::create_directories(path / "sub" / "sub");
        std::ofstream(path / "sub" / "a") << "content";
        std::filesystem::create_directory_symlink(other.Path(), path / "link");
        std::ofstream(other.Path() / "b") << "content";
        EXPECT_TRUE(std::filesystem::exists(path / "link" / "b"));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TemporaryFolder, LeavesTheTargetOfALinkAlone)
{
    const openhost::TemporaryFolder target;
    std::ofstream(target.Path() / "kept") << "content";
    {
        const openhost::TemporaryFolder folder;
        std::filesystem::create_directory_symlink(target.Path(), folder.Path() / "link");
    }
    EXPECT_TRUE(std::filesystem::exists(target.Path() / "kept"));
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
        EXPECT_EQ(Find(relativePath, path), S_OK) << relativePath;
        ZALFileStatus status;
        EXPECT_EQ(ZALFileStat(path, status, 0), S_OK);
        EXPECT_EQ(status.Size, 1U);
    }
}

TEST_F(FileOfAVariable, IsNotFoundWhereNothingStandsOrByAWayUp)
{
    ZALUnicodeString path;
    for (const char* relativePath : {"missing", "sub/missing", "sub/../sub/a.js", ".."}) {
        EXPECT_EQ(Find(relativePath, path), E_FAIL) << relativePath;
        EXPECT_EQ(path, ZALUnicodeString());
    }
    EXPECT_EQ(Find("sub/a.js", path, "Unknown"), E_FAIL);
    EXPECT_EQ(Find("sub/a.js", path, nullptr), E_FAIL);
    EXPECT_EQ(path, ZALUnicodeString());
}

} // namespace
