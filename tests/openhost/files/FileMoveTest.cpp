// Deletions and renames of files.

#include "FolderFixture.h"

#include "openhost/journal/Journal.h"

#include "host/files.h"

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class FilePlaces : public FolderFixture {
protected:
    FilePlaces()
    {
        Put("file", "content");
        fs::create_directory(At("folder"));
        fs::create_symlink("file", At("link"));
    }

    static int Rename(const ZALUnicodeString& from, const ZALUnicodeString& to)
    {
        return ZALRenameFile(from.ConvertToChar(), to.ConvertToChar());
    }
};

// ---------------------------------------------------------------------------------------------
// Deletions

TEST_F(FilePlaces, DeletesAFileAndOfALinkTheLink)
{
    EXPECT_EQ(S_OK, ZALDeleteFile(Path("link")));
    EXPECT_THAT(Names(), ElementsAre("file", "folder"));
    EXPECT_EQ(S_OK, ZALDeleteFile(Path("file")));
    EXPECT_THAT(Names(), ElementsAre("folder"));
}

TEST_F(FilePlaces, DeletesNothingThatIsNoFileOrNamedInOddWays)
{
    for (const ZALUnicodeString& path : {Path("folder"), Path("missing"), ZALUnicodeString(), Path("folder/../file"),
                                         Path("folder\\..\\file"), Path("file") + ZALUnicodeString(u"\0x", 2)})
        EXPECT_EQ(E_FAIL, ZALDeleteFile(path)) << path.ConvertToChar().CastToCharPtr();
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

// ---------------------------------------------------------------------------------------------
// Renames

TEST_F(FilePlaces, RenamesAFileAndOfALinkTheLink)
{
    EXPECT_EQ(0, Rename(Path("link"), Path("folder\\other")));
    EXPECT_TRUE(fs::is_symlink(At("folder/other")));
    EXPECT_EQ(0, Rename(Path("file"), Path("folder/file")));
    EXPECT_THAT(Names(), ElementsAre("folder", "folder/file", "folder/other"));
    EXPECT_EQ("content", Content("folder/file"));
}

TEST_F(FilePlaces, RenamesOverNothing)
{
    Put("other", "kept");
    fs::create_symlink("nowhere", At("dangling"));
    for (const char* target : {"other", "folder", "link", "dangling", "file"})
        EXPECT_NE(0, Rename(Path("file"), Path(target))) << target;
    EXPECT_EQ("content", Content("file"));
    EXPECT_EQ("kept", Content("other"));
    EXPECT_THAT(Names(), ElementsAre("dangling", "file", "folder", "link", "other"));
}

TEST_F(FilePlaces, RenamesNothingThatIsNoFileOrNamedInOddWays)
{
    const std::pair<ZALUnicodeString, ZALUnicodeString> renames[] = {
        {Path("folder"), Path("new")},
        {Path("missing"), Path("new")},
        {Path("file"), Path("missing/new")},
        {"", Path("new")},
        {Path("file"), ""},
        {Path("folder/../file"), Path("new")},
        {Path("file"), Path("folder\\..\\new")},
        {Path("file"), Path("new") + ZALUnicodeString(u"\0x", 2)}};
    for (const auto& [from, to] : renames)
        EXPECT_NE(0, Rename(from, to)) << from.ConvertToChar().CastToCharPtr();
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

TEST_F(FilePlaces, RenamesAreWrittenIntoTheJournal)
{
    std::vector<std::string> lines;
    journal::Redirect([&](const nlohmann::ordered_json& event) { lines.push_back(event.dump()); });
    Rename(Path("missing"), Path("new"));
    Rename(Path("file"), Path("folder\\new"));
    journal::Redirect({});
    EXPECT_THAT(lines, ElementsAre(R"({"event":"moved","from":")" + At("file").string() + R"(","to":")" +
                                   At("folder/new").string() + R"("})"));
}

TEST_F(FilePlaces, RenamesNothingToAnotherVolume)
{
    // Another volume than that of temporary files on most systems; where it is the same, the rename succeeds.
    std::string folder = "/dev/shm/openhost-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    struct stat here, there;
    ASSERT_EQ(0, stat(At("file").c_str(), &here));
    ASSERT_EQ(0, stat(folder.c_str(), &there));
    const bool isOther = here.st_dev != there.st_dev;
    EXPECT_EQ(Rename(Path("file"), ZALUnicodeString((folder + "/new").c_str())) != 0, isOther);
    EXPECT_EQ(isOther, fs::exists(At("file")));
    EXPECT_EQ(isOther, fs::is_empty(folder));
    fs::remove_all(folder);
}

} // namespace
} // namespace openhost::testing
