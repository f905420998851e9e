// Deletions and renames of files.

#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Journal.h"

#include "host/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

class FilePlaces : public ::testing::Test {
protected:
    FilePlaces()
    {
        Put("file", "content");
        fs::create_directory(At("folder"));
        fs::create_symlink("file", At("link"));
    }

    fs::path At(const std::string& name) const { return folder_.Path() / name; }
    ZALUnicodeString Path(const std::string& name) const { return ZALUnicodeString(At(name).c_str()); }
    static int Rename(const ZALUnicodeString& from, const ZALUnicodeString& to)
    {
        return ZALRenameFile(from.ConvertToChar(), to.ConvertToChar());
    }
    void Put(const std::string& name, const std::string& content) const { std::ofstream(At(name)) << content; }
    static std::string Content(const fs::path& path)
    {
        std::ifstream stream(path);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    /// Everything below the folder.
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.Path()))
            names.push_back(entry.path().lexically_relative(folder_.Path()));
        std::ranges::sort(names);
        return names;
    }

    const openhost::TemporaryFolder folder_;
};

// ---------------------------------------------------------------------------------------------
// Deletions

TEST_F(FilePlaces, DeletesAFileAndOfALinkTheLink)
{
    EXPECT_EQ(ZALDeleteFile(Path("link")), S_OK);
    EXPECT_THAT(Names(), ElementsAre("file", "folder"));
    EXPECT_EQ(ZALDeleteFile(Path("file")), S_OK);
    EXPECT_THAT(Names(), ElementsAre("folder"));
}

TEST_F(FilePlaces, DeletesNoFolderAndNothingThatIsMissing)
{
    EXPECT_EQ(ZALDeleteFile(Path("folder")), E_FAIL);
    EXPECT_EQ(ZALDeleteFile(Path("missing")), E_FAIL);
    EXPECT_EQ(ZALDeleteFile(""), E_FAIL);
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

TEST_F(FilePlaces, DeletesNothingThroughAParentComponentNorBeforeAZeroCharacter)
{
    EXPECT_EQ(ZALDeleteFile(Path("folder/../file")), E_FAIL);
    EXPECT_EQ(ZALDeleteFile(Path("folder\\..\\file")), E_FAIL);
    EXPECT_EQ(ZALDeleteFile(Path("file") + ZALUnicodeString(u"\0x", 2)), E_FAIL);
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

// ---------------------------------------------------------------------------------------------
// Renames

TEST_F(FilePlaces, RenamesAFileAndOfALinkTheLink)
{
    EXPECT_EQ(Rename(Path("link"), Path("folder\\other")), 0);
    EXPECT_TRUE(fs::is_symlink(At("folder/other")));
    EXPECT_EQ(Rename(Path("file"), Path("folder/file")), 0);
    EXPECT_THAT(Names(), ElementsAre("folder", "folder/file", "folder/other"));
    EXPECT_EQ(Content(At("folder/file")), "content");
}

TEST_F(FilePlaces, RenamesOverNothing)
{
    Put("other", "kept");
    fs::create_symlink("nowhere", At("dangling"));
    for (const char* target : {"other", "folder", "link", "dangling", "file"})
        EXPECT_NE(Rename(Path("file"), Path(target)), 0) << target;
    EXPECT_EQ(Content(At("file")), "content");
    EXPECT_EQ(Content(At("other")), "kept");
    EXPECT_THAT(Names(), ElementsAre("dangling", "file", "folder", "link", "other"));
}

TEST_F(FilePlaces, RenamesNoFolderAndNothingThatIsMissing)
{
    EXPECT_NE(Rename(Path("folder"), Path("new")), 0);
    EXPECT_NE(Rename(Path("missing"), Path("new")), 0);
    EXPECT_NE(Rename(Path("file"), Path("missing/new")), 0);
    EXPECT_NE(Rename("", Path("new")), 0);
    EXPECT_NE(Rename(Path("file"), ""), 0);
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

TEST_F(FilePlaces, RenamesNothingThroughAParentComponentNorBeforeAZeroCharacter)
{
    EXPECT_NE(Rename(Path("folder/../file"), Path("new")), 0);
    EXPECT_NE(Rename(Path("file"), Path("folder\\..\\new")), 0);
    EXPECT_NE(Rename(Path("file"), Path("new") + ZALUnicodeString(u"\0x", 2)), 0);
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

TEST_F(FilePlaces, RenamesAreWrittenIntoTheJournal)
{
    std::vector<std::string> lines;
    openhost::journal::Redirect([&](const nlohmann::ordered_json& event) { lines.push_back(event.dump()); });
    Rename(Path("missing"), Path("new"));
    Rename(Path("file"), Path("folder\\new"));
    openhost::journal::Redirect({});
    EXPECT_THAT(lines, ElementsAre(R"({"event":"moved","from":")" + At("file").string() + R"(","to":")" +
                                   At("folder/new").string() + R"("})"));
}

TEST_F(FilePlaces, RenamesNothingToAnotherVolume)
{
    // Another volume than that of temporary files on most systems; where it is the same, the rename succeeds.
    std::string folder = "/dev/shm/openhost-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    struct stat here, there;
    ASSERT_EQ(stat(At("file").c_str(), &here), 0);
    ASSERT_EQ(stat(folder.c_str(), &there), 0);
    const bool isOther = here.st_dev != there.st_dev;
    EXPECT_EQ(Rename(Path("file"), ZALUnicodeString((folder + "/new").c_str())) != 0, isOther);
    EXPECT_EQ(fs::exists(At("file")), isOther);
    EXPECT_EQ(fs::is_empty(folder), isOther);
    fs::remove_all(folder);
}

} // namespace
