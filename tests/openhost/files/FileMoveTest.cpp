// Deletions and renames of files.

#include "openhost/files/FileMove.h"
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
    EXPECT_EQ(ZALRenameFile(Path("link"), Path("folder\\other")), S_OK);
    EXPECT_TRUE(fs::is_symlink(At("folder/other")));
    EXPECT_EQ(ZALRenameFile(Path("file"), Path("folder/file")), S_OK);
    EXPECT_THAT(Names(), ElementsAre("folder", "folder/file", "folder/other"));
    EXPECT_EQ(Content(At("folder/file")), "content");
}

TEST_F(FilePlaces, RenamesOverNothing)
{
    Put("other", "kept");
    fs::create_symlink("nowhere", At("dangling"));
    for (const char* target : {"other", "folder", "link", "dangling", "file"})
        EXPECT_EQ(ZALRenameFile(Path("file"), Path(target)), E_FAIL) << target;
    EXPECT_EQ(Content(At("file")), "content");
    EXPECT_EQ(Content(At("other")), "kept");
    EXPECT_THAT(Names(), ElementsAre("dangling", "file", "folder", "link", "other"));
}

TEST_F(FilePlaces, RenamesNoFolderAndNothingThatIsMissing)
{
    EXPECT_EQ(ZALRenameFile(Path("folder"), Path("new")), E_FAIL);
    EXPECT_EQ(ZALRenameFile(Path("missing"), Path("new")), E_FAIL);
    EXPECT_EQ(ZALRenameFile(Path("file"), Path("missing/new")), E_FAIL);
    EXPECT_EQ(ZALRenameFile("", Path("new")), E_FAIL);
    EXPECT_EQ(ZALRenameFile(Path("file"), ""), E_FAIL);
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

TEST_F(FilePlaces, RenamesNothingThroughAParentComponentNorBeforeAZeroCharacter)
{
    EXPECT_EQ(ZALRenameFile(Path("folder/../file"), Path("new")), E_FAIL);
    EXPECT_EQ(ZALRenameFile(Path("file"), Path("folder\\..\\new")), E_FAIL);
    EXPECT_EQ(ZALRenameFile(Path("file"), Path("new") + ZALUnicodeString(u"\0x", 2)), E_FAIL);
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
}

TEST_F(FilePlaces, RenamesAreWrittenIntoTheJournal)
{
    std::vector<std::string> lines;
    openhost::journal::Redirect([&](const nlohmann::ordered_json& event) { lines.push_back(event.dump()); });
    ZALRenameFile(Path("missing"), Path("new"));
    ZALRenameFile(Path("file"), Path("folder\\new"));
    openhost::journal::Redirect({});
    EXPECT_THAT(lines, ElementsAre(R"({"event":"moved","from":")" + At("file").string() + R"(","to":")" +
                                   At("folder/new").string() + R"("})"));
}

// ---------------------------------------------------------------------------------------------
// Moves between volumes

TEST_F(FilePlaces, MovesAFileWithItsPermissionsToAnotherVolume)
{
    fs::permissions(At("file"), fs::perms::owner_read);
    EXPECT_TRUE(openhost::MoveToOtherVolume(At("file"), At("folder/new")));
    EXPECT_THAT(Names(), ElementsAre("folder", "folder/new", "link")) << "and nothing of its own is left";
    EXPECT_EQ(Content(At("folder/new")), "content");
    EXPECT_EQ(fs::status(At("folder/new")).permissions(), fs::perms::owner_read);
}

TEST_F(FilePlaces, MovesALinkAsALinkToAnotherVolume)
{
    EXPECT_TRUE(openhost::MoveToOtherVolume(At("link"), At("new")));
    EXPECT_EQ(fs::read_symlink(At("new")), "file");
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "new"));
}

TEST_F(FilePlaces, MoveToAnotherVolumeThatFailsLeavesNothingBehind)
{
    EXPECT_FALSE(openhost::MoveToOtherVolume(At("missing"), At("new")));
    EXPECT_FALSE(openhost::MoveToOtherVolume(At("file"), At("missing/new")));
    EXPECT_FALSE(openhost::MoveToOtherVolume(At("file"), At("folder")));
    EXPECT_THAT(Names(), ElementsAre("file", "folder", "link"));
    EXPECT_EQ(Content(At("file")), "content");
}

TEST_F(FilePlaces, RenamesAFileToTheVolumeOfTheSharedMemory)
{
    // Another volume than that of temporary files on most systems.
    std::string folder = "/dev/shm/openhost-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    EXPECT_EQ(ZALRenameFile(Path("file"), ZALUnicodeString((folder + "/new").c_str())), S_OK);
    EXPECT_EQ(Content(folder + "/new"), "content");
    EXPECT_FALSE(fs::exists(At("file")));
    EXPECT_EQ(ZALRenameFile(ZALUnicodeString((folder + "/new").c_str()), Path("back")), S_OK);
    EXPECT_EQ(Content(At("back")), "content");
    EXPECT_TRUE(fs::is_empty(folder));
    fs::remove_all(folder);
}

} // namespace
