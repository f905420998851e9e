#include "openhost/files/ZipExtraction.h"
#include "openhost/files/ZipOutput.h"
#include "openhost/journal/Journal.h"
#include "tests/openhost/files/ArchiveFixture.h"

#include <csignal>
#include <stdexcept>

#include <sys/resource.h>
#include <sys/stat.h>

namespace openhost::testing {
namespace {

using ArchiveExtraction = ArchiveFixture;

// ---------------------------------------------------------------------------------------------
// Where entries land

TEST_F(ArchiveExtraction, MakesTheFoldersOnTheWay)
{
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("sub/deep/a", "1")), S_OK);
    EXPECT_EQ(Content(Folder() / "sub/deep/a"), "1");
}

TEST_F(ArchiveExtraction, ABackslashSeparatesToo)
{
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("sub\\a", "1")), S_OK);
    EXPECT_EQ(Listing(Folder()), (std::set<std::string>{"sub", "sub/a"}));
}

TEST_F(ArchiveExtraction, EmptyComponentsAndDotsNameNothing)
{
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("./sub//./a", "1")), S_OK);
    EXPECT_EQ(Listing(Folder()), (std::set<std::string>{"sub", "sub/a"}));
}

TEST_F(ArchiveExtraction, AnEntryThatEndsInASeparatorMakesADirectory)
{
    ASSERT_EQ(Open(ZipBytes().AddDirectory("slash/").AddDirectory("back\\slash\\")), S_OK);
    for (const std::string& name : Browse())
        EXPECT_EQ(Extract(name), S_OK);
    EXPECT_TRUE(std::filesystem::is_directory(Folder() / "slash"));
    EXPECT_TRUE(std::filesystem::is_directory(Folder() / "back/slash"));
}

TEST_F(ArchiveExtraction, ADirectoryThatStandsThereIsKept)
{
    std::filesystem::create_directory(Folder() / "sub");
    Put(Folder() / "sub/mine", "mine");
    EXPECT_EQ(ExtractOnly(ZipBytes().AddDirectory("sub")), S_OK);
    EXPECT_EQ(Content(Folder() / "sub/mine"), "mine");
}

TEST_F(ArchiveExtraction, ADirectoryNamingTheFolderItselfIsNothingToDo)
{
    EXPECT_EQ(ExtractOnly(ZipBytes().AddDirectory("./")), S_OK);
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, FailsForAFolderThatDoesNotExist)
{
    ASSERT_EQ(Open(ZipBytes().Add("a", "1")), S_OK);
    EXPECT_TRUE(FAILED(zip_.ExtractFile(Text(Folder() / "none"), "a", ZALZipExtractReplace)));
    EXPECT_TRUE(FAILED(zip_.ExtractFile("", "a", ZALZipExtractReplace)));
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, TheFolderMayBeReachedThroughALink)
{
    std::filesystem::create_directory_symlink(Folder(), temporary_.Path() / "link");
    ASSERT_EQ(Open(ZipBytes().Add("a", "1")), S_OK);
    EXPECT_EQ(zip_.ExtractFile(Text(temporary_.Path() / "link"), "a", ZALZipExtractReplace), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), "1");
}

TEST_F(ArchiveExtraction, AFolderThatIsGoneIsMadeAgain)
{
    ASSERT_EQ(Open(ZipBytes().Add("sub/a", "1").Add("sub/b", "2")), S_OK);
    EXPECT_EQ(Extract("sub/a"), S_OK);
    std::filesystem::remove_all(Folder() / "sub");
    EXPECT_EQ(Extract("sub/b"), S_OK);
    EXPECT_EQ(Content(Folder() / "sub/b"), "2");
}

// ---------------------------------------------------------------------------------------------
// What stands there

TEST_F(ArchiveExtraction, ReplacesAFile)
{
    Put(Folder() / "a", "a longer text of before");
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("a", "new")), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), "new");
    EXPECT_EQ(Listing(Folder()), std::set<std::string>{"a"});
}

TEST_F(ArchiveExtraction, ReplacesAFileByAContentOfManyPieces)
{
    Put(Folder() / "a", "old");
    const std::string content = LongContent(4'000'000);
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("a", content).Deflated()), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), content);
    EXPECT_EQ(Listing(Folder()), std::set<std::string>{"a"});
}

TEST_F(ArchiveExtraction, ReplacesAReadOnlyFile)
{
    Put(Folder() / "a", "old");
    std::filesystem::permissions(Folder() / "a", std::filesystem::perms(0400));
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("a", "new")), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), "new");
}

TEST_F(ArchiveExtraction, AReplacedFileKeepsItsOtherNamesAsTheyWere)
{
    Put(Outside() / "mine", "mine");
    std::filesystem::create_hard_link(Outside() / "mine", Folder() / "a");
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("a", "new")), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), "new");
    EXPECT_EQ(Content(Outside() / "mine"), "mine");
}

TEST_F(ArchiveExtraction, TheArchiveItselfMayBeReplaced)
{
    ZipBytes().Add("b.zip", "1").Add("c", "2").Write(Folder() / "b.zip");
    ASSERT_EQ(zip_.OpenZip(Text(Folder() / "b.zip"), ZALZipRead), S_OK);
    EXPECT_EQ(Extract("b.zip"), S_OK);
    EXPECT_EQ(Extract("c"), S_OK);
    EXPECT_EQ(Content(Folder() / "b.zip"), "1");
    EXPECT_EQ(Content(Folder() / "c"), "2");
}

TEST_F(ArchiveExtraction, FailsWhereADirectoryStandsInThePlaceOfAFile)
{
    std::filesystem::create_directories(Folder() / "a/sub");
    ASSERT_EQ(Open(ZipBytes().Add("a", "1").Add("a/sub", LongContent(4'000'000)).Deflated()), S_OK);
    EXPECT_TRUE(FAILED(Extract("a")));
    EXPECT_TRUE(FAILED(Extract("a/sub")));
    EXPECT_EQ(Listing(Folder()), (std::set<std::string>{"a", "a/sub"}));
}

TEST_F(ArchiveExtraction, FailsWhereAFileStandsInThePlaceOfADirectory)
{
    Put(Folder() / "a", "mine");
    ASSERT_EQ(Open(ZipBytes().AddDirectory("a").Add("a/b", "1")), S_OK);
    EXPECT_TRUE(FAILED(Extract("a/")));
    EXPECT_TRUE(FAILED(Extract("a/b")));
    EXPECT_EQ(Content(Folder() / "a"), "mine");
}

TEST_F(ArchiveExtraction, FailsWhereAPipeStands)
{
    ASSERT_EQ(mkfifo((Folder() / "a").c_str(), 0600), 0);
    EXPECT_TRUE(FAILED(ExtractOnly(ZipBytes().Add("a", "1"))));
    EXPECT_TRUE(std::filesystem::is_fifo(Folder() / "a"));
}

TEST_F(ArchiveExtraction, NewFilesAreNotExecutable)
{
    EXPECT_EQ(ExtractOnly(ZipBytes().Add("a", "1").WithUnixMode(0104777)), S_OK);
    const auto permissions = std::filesystem::status(Folder() / "a").permissions();
    EXPECT_EQ(permissions & std::filesystem::perms(07111), std::filesystem::perms::none);
}

// ---------------------------------------------------------------------------------------------
// A full disk

/// No file may grow beyond a size meanwhile, as on a disk that is full.
class FullDisk {
public:
    explicit FullDisk(rlim_t size)
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(ArchiveExtraction, AFullDiskLeavesNothing)
{
    const std::string content = LongContent(4'000'000);
    ASSERT_EQ(Open(ZipBytes().Add("new/sub/small", content.substr(0, 60'000)).Add("new/sub/large", content)), S_OK);
    const FullDisk disk(50'000);
    EXPECT_TRUE(FAILED(Extract("new/sub/small")));
    EXPECT_TRUE(FAILED(Extract("new/sub/large")));
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, AFullDiskLeavesTheFileThatStandsThere)
{
    Put(Folder() / "a", "mine");
    ASSERT_EQ(Open(ZipBytes().Add("a", LongContent(60'000))), S_OK);
    const FullDisk disk(50'000);
    EXPECT_TRUE(FAILED(Extract("a")));
    EXPECT_EQ(Content(Folder() / "a"), "mine");
    EXPECT_EQ(Listing(Folder()), std::set<std::string>{"a"});
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
    EXPECT_EQ(Listing(temporary_.Path()), (std::set<std::string>{"archive.zip", "folder", "outside"}));
}

INSTANTIATE_TEST_SUITE_P(All, WayOut,
                         ::testing::Values("../a", "..", "../", "..\\a", "sub/../../a", "sub\\..\\..\\a",
                                           "sub/..\\../a", "sub/../a", "./../a", "a/..", "../outside/a", "../outside/",
                                           "<absolute>/a", "<absolute>/new/", "/", "//a", "\\a", "\\\\server\\share\\a",
                                           "/../a", "C:\\a", "c:a", "C:/a", "C:", "z:\\..\\a", "\\\\?\\C:\\a", "",
                                           "."));

TEST_F(ArchiveExtraction, NamesWithDotsThatAreNoComponentsAreFine)
{
    ASSERT_EQ(Open(ZipBytes().Add("...", "1").Add("..a/b..", "2").Add(".hidden", "3")), S_OK);
    for (const std::string& name : Browse())
        EXPECT_EQ(Extract(name), S_OK) << name;
}

TEST_F(ArchiveExtraction, RefusesAFolderWithAParentComponent)
{
    ASSERT_EQ(Open(ZipBytes().Add("a", "1")), S_OK);
    EXPECT_TRUE(FAILED(zip_.ExtractFile(Text(Folder() / "../outside"), "a", ZALZipExtractReplace)));
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, RefusesAPathThroughALink)
{
    std::filesystem::create_directory_symlink(Outside(), Folder() / "link");
    std::filesystem::create_directory(Folder() / "sub");
    std::filesystem::create_directory_symlink("../../outside", Folder() / "sub/link");
    ASSERT_EQ(Open(ZipBytes()
                       .Add("link/a", "1")
                       .Add("link/new/a", LongContent(4'000'000))
                       .AddDirectory("link")
                       .AddDirectory("link/new")
                       .Add("sub/link/a", "1")),
              S_OK);
    for (const std::string& name : Browse())
        EXPECT_TRUE(FAILED(Extract(name))) << name;
    EXPECT_TRUE(Listing(Outside()).empty());
}

TEST_F(ArchiveExtraction, RefusesALinkThatAppearsBetweenTwoEntries)
{
    ASSERT_EQ(Open(ZipBytes().Add("sub/a", "1").Add("sub/b", "2")), S_OK);
    EXPECT_EQ(Extract("sub/a"), S_OK);
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
    ASSERT_EQ(Open(ZipBytes().Add("file", "1").Add("dangling", "1").Add("file", content).Add("dangling", content)),
              S_OK);
    for (const std::string& name : Browse())
        EXPECT_TRUE(FAILED(Extract(name))) << name;
    EXPECT_EQ(Content(Outside() / "mine"), "mine");
    EXPECT_EQ(Listing(Outside()), std::set<std::string>{"mine"});
    EXPECT_TRUE(std::filesystem::is_symlink(Folder() / "file"));
    EXPECT_TRUE(std::filesystem::is_symlink(Folder() / "dangling"));
}

TEST_F(ArchiveExtraction, RefusesAnEntryThatIsALink)
{
    ASSERT_EQ(Open(ZipBytes().Add("link", "../outside").SymbolicLink().Add("link/a", "1")), S_OK);
    EXPECT_TRUE(FAILED(Extract("link")));
    ExpectNothingWritten();
    EXPECT_EQ(Extract("link/a"), S_OK);
    EXPECT_TRUE(Listing(Outside()).empty());
}

TEST_F(ArchiveExtraction, RefusesAnEntryThatIsADeviceOrAPipe)
{
    ASSERT_EQ(Open(ZipBytes().Add("device", "1").WithUnixMode(0020666).Add("pipe", "1").WithUnixMode(0010666)), S_OK);
    EXPECT_TRUE(FAILED(Extract("device")));
    EXPECT_TRUE(FAILED(Extract("pipe")));
    ExpectNothingWritten();
}

TEST_F(ArchiveExtraction, ANameThatTheSystemCannotHaveLeavesNothing)
{
    ASSERT_EQ(Open(ZipBytes()
                       .Add("new/" + std::string(300, 'a'), "1")
                       .Add("new/" + std::string(300, 'b') + "/a", "1")
                       .AddDirectory("new/" + std::string(300, 'c'))),
              S_OK);
    for (const std::string& name : Browse())
        EXPECT_TRUE(FAILED(Extract(name)));
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
    ASSERT_EQ(Open(ZipBytes().Add(deep + "a", "1").Add(tooDeep + "a", "1")), S_OK);
    EXPECT_EQ(Extract(deep + "a"), S_OK);
    EXPECT_EQ(Content(Folder() / (deep + "a")), "1");
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

TEST_F(ArchiveLimits, TheNumberOfEntriesIsLimited)
{
    ZipBytes().AddMany(11).Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.entries = 11}, {}));
    EXPECT_THROW(ExtractWith({.entries = 10}, {}), std::runtime_error);
}

TEST_F(ArchiveLimits, TheSizeOfTheDirectoryIsLimitedBeforeItIsKept)
{
    ZipBytes().AddMany(10'000).Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.directorySize = 1'000'000}, {}));
    EXPECT_THROW(ExtractWith({.directorySize = 300'000}, {}), std::runtime_error);
}

TEST_F(ArchiveLimits, TheSizeOfAnEntryIsLimited)
{
    ZipBytes().Add("a", "12345").Deflated().Add("b", "123456").Deflated().Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.entrySize = 5}, {0}));
    EXPECT_THROW(ExtractWith({.entrySize = 5}, {1}), std::runtime_error);
    EXPECT_EQ(Listing(Folder()), std::set<std::string>{"a"});
}

TEST_F(ArchiveLimits, TheSizeOfAllEntriesTogetherIsLimited)
{
    ZipBytes().Add("a", "12345").Add("b", "12345").Add("c", "12345").Write(ArchivePath());
    EXPECT_THROW(ExtractWith({.totalSize = 14}, {0, 1, 2}), std::runtime_error);
    EXPECT_EQ(Listing(Folder()), (std::set<std::string>{"a", "b"}));
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
    ASSERT_EQ(Open(ZipBytes().AddDirectory("sub").Add("sub\\a", "1")), S_OK);
    for (const std::string& name : Browse())
        EXPECT_EQ(Extract(name), S_OK);
    ASSERT_EQ(events_.size(), 1U);
    EXPECT_EQ(events_[0], (nlohmann::ordered_json{{"event", "extracted"}, {"path", (Folder() / "sub/a").string()}}));
}

TEST_F(ArchiveJournal, TellsWhyAnEntryWasRefused)
{
    EXPECT_TRUE(FAILED(ExtractOnly(ZipBytes().Add("../a", "1"))));
    ASSERT_EQ(events_.size(), 1U);
    EXPECT_EQ(events_[0]["event"], "refused");
    EXPECT_EQ(events_[0]["entry"], "../a");
    EXPECT_EQ(events_[0]["reason"], "a path out of its folder");
}

} // namespace
} // namespace openhost::testing
