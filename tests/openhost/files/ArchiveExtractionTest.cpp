#include "openhost/files/ZipExtraction.h"
#include "openhost/files/ZipOutput.h"
#include "openhost/journal/Journal.h"
#include "tests/openhost/files/ArchiveFixture.h"
#include "tests/openhost/files/FileSizeLimit.h"

#include <sys/stat.h>

namespace openhost::testing {
namespace {

using ArchiveExtraction = ArchiveFixture;

// ---------------------------------------------------------------------------------------------
// Where entries land

TEST_F(ArchiveExtraction, ReadsSeparatorsAndDotsOfANameAsASystemDoes)
{
    for (const char* name : {"sub/a", "sub\\a", "./sub//./a"}) {
        EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().Add(name, "1"))) << name;
        zip_.Close();
        EXPECT_EQ("1", ReadFile(Folder() / "sub/a")) << name;
        EXPECT_EQ((std::set<std::string>{"sub", "sub/a"}), Listing(Folder())) << name;
        std::filesystem::remove_all(Folder() / "sub");
    }
}

TEST_F(ArchiveExtraction, AnEntryThatEndsInASeparatorMakesADirectory)
{
    ExtractAll(ZipBytes().AddDirectory("slash/").AddDirectory("back\\slash\\"));
    EXPECT_TRUE(std::filesystem::is_directory(Folder() / "slash"));
    EXPECT_TRUE(std::filesystem::is_directory(Folder() / "back/slash"));
}

TEST_F(ArchiveExtraction, ADirectoryThatStandsThereIsKept)
{
    std::filesystem::create_directory(Folder() / "sub");
    Put(Folder() / "sub/mine", "mine");
    EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().AddDirectory("sub")));
    EXPECT_EQ("mine", ReadFile(Folder() / "sub/mine"));
}

TEST_F(ArchiveExtraction, ADirectoryNamingTheFolderItselfIsNothingToDo)
{
    EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().AddDirectory("./")));
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, FailsForAFolderThatDoesNotExistOrGoesUp)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1")));
    for (const ZALUnicodeString& folder : {Text(Folder() / "none"), ZALUnicodeString(), Text(Folder() / "../outside")})
        EXPECT_TRUE(FAILED(zip_.ExtractFile(folder, "a", ZALZipExtractReplace))) << ToUtf8(folder);
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, TheFolderMayBeReachedThroughALink)
{
    std::filesystem::create_directory_symlink(Folder(), temporary_.Path() / "link");
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1")));
    EXPECT_EQ(S_OK, zip_.ExtractFile(Text(temporary_.Path() / "link"), "a", ZALZipExtractReplace));
    EXPECT_EQ("1", ReadFile(Folder() / "a"));
}

TEST_F(ArchiveExtraction, AFolderThatIsGoneIsMadeAgain)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/a", "1").Add("sub/b", "2")));
    EXPECT_EQ(S_OK, Extract("sub/a"));
    std::filesystem::remove_all(Folder() / "sub");
    EXPECT_EQ(S_OK, Extract("sub/b"));
    EXPECT_EQ("2", ReadFile(Folder() / "sub/b"));
}

// ---------------------------------------------------------------------------------------------
// What stands there

TEST_F(ArchiveExtraction, ReplacesAFileAlsoAReadOnlyOneAndInManyPieces)
{
    for (const std::string& content : {std::string("new"), LongContent(4'000'000)}) {
        Put(Folder() / "a", "a longer text of before");
        std::filesystem::permissions(Folder() / "a", std::filesystem::perms(content.size() == 3 ? 0400 : 0600));
        EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().Add("a", content).Deflated()));
        zip_.Close();
        EXPECT_TRUE(ReadFile(Folder() / "a") == content) << content.size();
        EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
    }
}

TEST_F(ArchiveExtraction, AReplacedFileKeepsItsOtherNamesAsTheyWere)
{
    Put(Outside() / "mine", "mine");
    std::filesystem::create_hard_link(Outside() / "mine", Folder() / "a");
    EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().Add("a", "new")));
    EXPECT_EQ("new", ReadFile(Folder() / "a"));
    EXPECT_EQ("mine", ReadFile(Outside() / "mine"));
}

TEST_F(ArchiveExtraction, TheArchiveItselfMayBeReplaced)
{
    ZipBytes().Add("b.zip", "1").Add("c", "2").Write(Folder() / "b.zip");
    ASSERT_EQ(S_OK, zip_.OpenZip(Text(Folder() / "b.zip"), ZALZipRead));
    EXPECT_EQ(S_OK, Extract("b.zip"));
    EXPECT_EQ(S_OK, Extract("c"));
    EXPECT_EQ("1", ReadFile(Folder() / "b.zip"));
    EXPECT_EQ("2", ReadFile(Folder() / "c"));
}

TEST_F(ArchiveExtraction, FailsWhereADirectoryStandsInThePlaceOfAFile)
{
    std::filesystem::create_directories(Folder() / "a/sub");
    RefuseAll(ZipBytes().Add("a", "1").Add("a/sub", LongContent(4'000'000)).Deflated());
    EXPECT_EQ((std::set<std::string>{"a", "a/sub"}), Listing(Folder()));
}

TEST_F(ArchiveExtraction, FailsWhereAFileStandsInThePlaceOfADirectory)
{
    Put(Folder() / "a", "mine");
    RefuseAll(ZipBytes().AddDirectory("a").Add("a/b", "1"));
    EXPECT_EQ("mine", ReadFile(Folder() / "a"));
}

TEST_F(ArchiveExtraction, FailsWhereAPipeStands)
{
    ASSERT_EQ(0, mkfifo((Folder() / "a").c_str(), 0600));
    EXPECT_TRUE(FAILED(ExtractOnly(ZipBytes().Add("a", "1"))));
    EXPECT_TRUE(std::filesystem::is_fifo(Folder() / "a"));
}

TEST_F(ArchiveExtraction, NewFilesAreNotExecutable)
{
    EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().Add("a", "1").WithUnixMode(0104777)));
    const auto permissions = std::filesystem::status(Folder() / "a").permissions();
    EXPECT_EQ(std::filesystem::perms::none, permissions & std::filesystem::perms(07111));
}

// ---------------------------------------------------------------------------------------------
// A full disk

TEST_F(ArchiveExtraction, AFullDiskLeavesNothingNewAndTheFileThatStandsThere)
{
    Put(Folder() / "a", "mine");
    const std::string content = LongContent(4'000'000);
    const ZipBytes archive = ZipBytes()
                                 .Add("new/sub/small", content.substr(0, 60'000))
                                 .Add("new/sub/large", content)
                                 .Add("a", content.substr(0, 60'000));
    ASSERT_EQ(S_OK, Open(archive));
    const FileSizeLimit disk(50'000);
    for (const char* name : {"new/sub/small", "new/sub/large", "a"})
        EXPECT_TRUE(FAILED(Extract(name))) << name;
    EXPECT_EQ("mine", ReadFile(Folder() / "a"));
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
}

// ---------------------------------------------------------------------------------------------
// Ways out

class WayOut : public ArchiveFixture, public ::testing::WithParamInterface<const char*> {};

TEST_P(WayOut, IsRefused)
{
    std::string name = GetParam();
    if (name.starts_with("<absolute>"))
        name.replace(0, 10, (Outside()).string());
    EXPECT_TRUE(FAILED(ExtractOnly(ZipBytes().Add(name, "1"))));
    EXPECT_TRUE(FAILED(zip_.ExtractFile(Text(Folder()), FromUtf8(name), ZALZipExtractReplace)));
    ExpectNothingWritten();
    EXPECT_EQ((std::set<std::string>{"archive.zip", "folder", "outside"}), Listing(temporary_.Path()));
}

INSTANTIATE_TEST_SUITE_P(All, WayOut,
                         ::testing::Values("../a", "..", "../", "..\\a", "sub/../../a", "sub\\..\\..\\a",
                                           "sub/..\\../a", "sub/../a", "./../a", "a/..", "../outside/a", "../outside/",
                                           "<absolute>/a", "<absolute>/new/", "/", "//a", "\\a", "\\\\server\\share\\a",
                                           "/../a", "C:\\a", "c:a", "C:/a", "C:", "z:\\..\\a", "\\\\?\\C:\\a", "",
                                           "."));

TEST_F(ArchiveExtraction, NamesWithDotsThatAreNoComponentsAreFine)
{
    ExtractAll(ZipBytes().Add("...", "1").Add("..a/b..", "2").Add(".hidden", "3"));
}

TEST_F(ArchiveExtraction, RefusesAPathThroughALink)
{
    std::filesystem::create_directory_symlink(Outside(), Folder() / "link");
    std::filesystem::create_directory(Folder() / "sub");
    std::filesystem::create_directory_symlink("../../outside", Folder() / "sub/link");
    RefuseAll(ZipBytes()
                  .Add("link/a", "1")
                  .Add("link/new/a", LongContent(4'000'000))
                  .AddDirectory("link")
                  .AddDirectory("link/new")
                  .Add("sub/link/a", "1"));
    EXPECT_TRUE(Listing(Outside()).empty());
}

TEST_F(ArchiveExtraction, RefusesALinkThatAppearsBetweenTwoEntries)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/a", "1").Add("sub/b", "2")));
    EXPECT_EQ(S_OK, Extract("sub/a"));
    std::filesystem::remove_all(Folder() / "sub");
    std::filesystem::create_directory_symlink(Outside(), Folder() / "sub");
    EXPECT_TRUE(FAILED(Extract("sub/b")));
    EXPECT_TRUE(Listing(Outside()).empty());
}

TEST_F(ArchiveExtraction, RefusesToWriteThroughALinkOrToReplaceIt)
{
    Put(Outside() / "mine", "mine");
    std::filesystem::create_symlink(Outside() / "mine", Folder() / "file");
    std::filesystem::create_symlink(Outside() / "new", Folder() / "dangling");
    const std::string content = LongContent(4'000'000);
    RefuseAll(ZipBytes().Add("file", "1").Add("dangling", "1"));
    zip_.Close();
    RefuseAll(ZipBytes().Add("file", content).Add("dangling", content));
    EXPECT_EQ("mine", ReadFile(Outside() / "mine"));
    EXPECT_EQ(std::set<std::string>{"mine"}, Listing(Outside()));
    EXPECT_TRUE(std::filesystem::is_symlink(Folder() / "file"));
    EXPECT_TRUE(std::filesystem::is_symlink(Folder() / "dangling"));
}

TEST_F(ArchiveExtraction, RefusesAnEntryThatIsALink)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("link", "../outside").SymbolicLink().Add("link/a", "1")));
    EXPECT_TRUE(FAILED(Extract("link")));
    ExpectNothingWritten();
    EXPECT_EQ(S_OK, Extract("link/a"));
    EXPECT_TRUE(Listing(Outside()).empty());
}

TEST_F(ArchiveExtraction, ADeviceAPipeAndANameThatIsTooLongLeaveNothing)
{
    RefuseAll(ZipBytes()
                  .Add("device", "1")
                  .WithUnixMode(0020666)
                  .Add("pipe", "1")
                  .WithUnixMode(0010666)
                  .Add("new/" + std::string(300, 'a'), "1")
                  .Add("new/" + std::string(300, 'b') + "/a", "1")
                  .AddDirectory("new/" + std::string(300, 'c')));
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, ADeepPathIsExtractedOrRefusedAsAWhole)
{
    std::string deep;
    for (int level = 0; level < 200; ++level)
        deep += "d/";
    std::string tooDeep;
    for (int level = 0; level < 2100; ++level)
        tooDeep += "d/";
    ASSERT_EQ(S_OK, Open(ZipBytes().Add(deep + "a", "1").Add(tooDeep + "a", "1")));
    EXPECT_EQ(S_OK, Extract(deep + "a"));
    EXPECT_EQ("1", ReadFile(Folder() / (deep + "a")));
    EXPECT_TRUE(FAILED(Extract(tooDeep + "a")));
    EXPECT_FALSE(std::filesystem::exists(Folder() / (deep + "d")));
}

// ---------------------------------------------------------------------------------------------
// Limits

class ArchiveLimits : public ArchiveFixture {
protected:
    void ExtractWith(const ZipLimits& limits, const std::vector<std::size_t>& entries)
    {
        ZipReader archive(ArchivePath(), limits);
        for (const std::size_t entry : entries)
            ExtractZipEntry(archive, entry, Folder(), archive.Name(entry));
    }
};

TEST_F(ArchiveLimits, NumberOfEntriesAndSizeOfTheDirectoryAreLimited)
{
    ZipBytes().AddMany(11).Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.entries = 11}, {}));
    EXPECT_THROW(ExtractWith({.entries = 10}, {}), std::runtime_error);
    ZipBytes().AddMany(10'000).Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.directorySize = 1'000'000}, {}));
    EXPECT_THROW(ExtractWith({.directorySize = 300'000}, {}), std::runtime_error);
}

TEST_F(ArchiveLimits, TheSizeOfAnEntryIsLimited)
{
    ZipBytes().Add("a", "12345").Deflated().Add("b", "123456").Deflated().Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.entrySize = 5}, {0}));
    EXPECT_THROW(ExtractWith({.entrySize = 5}, {1}), std::runtime_error);
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
}

TEST_F(ArchiveLimits, TheSizeOfAllEntriesTogetherIsLimited)
{
    ZipBytes().Add("a", "12345").Add("b", "12345").Add("c", "12345").Write(ArchivePath());
    EXPECT_THROW(ExtractWith({.totalSize = 14}, {0, 1, 2}), std::runtime_error);
    EXPECT_EQ((std::set<std::string>{"a", "b"}), Listing(Folder()));
    EXPECT_NO_THROW(ExtractWith({.totalSize = 15}, {0, 1, 2}));
}

TEST_F(ArchiveLimits, WhatCouldNotBeExtractedTakesNothingOfTheTotal)
{
    ZipBytes().Add("bad", "1234567890").WithWrongChecksum().Add("good", "1234567890").Write(ArchivePath());
    ZipReader archive(ArchivePath(), {.totalSize = 10});
    EXPECT_THROW(ExtractZipEntry(archive, 0, Folder(), "bad"), std::runtime_error);
    EXPECT_NO_THROW(ExtractZipEntry(archive, 1, Folder(), "good"));
}

// ---------------------------------------------------------------------------------------------
// Journal

class ArchiveJournal : public ArchiveFixture {
protected:
    ArchiveJournal()
    {
        before_ = journal::Redirect([this](const nlohmann::ordered_json& event) { events_.push_back(event); });
    }
    ~ArchiveJournal() override { journal::Redirect(before_); }

    std::vector<nlohmann::ordered_json> events_;
    journal::Sink before_;
};

TEST_F(ArchiveJournal, TellsEachFileThatWasExtractedAndNoDirectory)
{
    ExtractAll(ZipBytes().AddDirectory("sub").Add("sub\\a", "1"));
    ASSERT_EQ(1U, events_.size());
    EXPECT_EQ((nlohmann::ordered_json{{"event", "extracted"}, {"path", (Folder() / "sub/a").string()}}), events_[0]);
}

TEST_F(ArchiveJournal, TellsWhyAnEntryWasRefused)
{
    EXPECT_TRUE(FAILED(ExtractOnly(ZipBytes().Add("../a", "1"))));
    ASSERT_EQ(1U, events_.size());
    EXPECT_EQ("refused", events_[0]["event"]);
    EXPECT_EQ("../a", events_[0]["entry"]);
    EXPECT_EQ("a path out of its folder", events_[0]["reason"]);
}

} // namespace
} // namespace openhost::testing
