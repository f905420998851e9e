#include "openhost/files/ZipExtraction.h"
#include "openhost/files/ZipOutput.h"
#include "openhost/journal/Journal.h"
#include "tests/openhost/files/ArchiveFixture.h"
#include "tests/openhost/files/FileSizeLimit.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>

namespace {

/// Calls that bring a whole file system to the disk.
struct Syncs {
    std::atomic<int> count = 0;
    std::atomic<int> file = -1; ///< of the last one
    std::atomic<bool> fail = false;
};
Syncs syncsAside; ///< on another thread than the first
Syncs syncsAtTheEnd;

} // namespace

/// In place of the system's: counts, and may fail.
extern "C" int syncfs(int file) noexcept
{
    Syncs& syncs = gettid() == getpid() ? syncsAtTheEnd : syncsAside;
    ++syncs.count;
    syncs.file = file;
    if (!syncs.fail)
        return static_cast<int>(syscall(SYS_syncfs, file));
    errno = EIO;
    return -1;
}

namespace openhost::testing {
namespace {

using ArchiveExtraction = ArchiveFixture;

// ---------------------------------------------------------------------------------------------
// Where entries land

TEST_F(ArchiveExtraction, ReadsSeparatorsAndDotsOfANameAsASystemDoes)
{
    for (const char* name : {"sub/a", "sub\\a", "./sub//./a"}) {
        EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().Add(name, "1"))) << name;
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
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("1", ReadFile(Folder() / "a"));
}

TEST_F(ArchiveExtraction, AFolderThatIsGoneIsMadeAgain)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/a", "1").Add("sub/b", "2")));
    EXPECT_EQ(S_OK, Extract("sub/a"));
    std::filesystem::remove_all(Folder() / "sub");
    EXPECT_EQ(S_OK, Extract("sub/b"));
    std::filesystem::remove_all(Folder() / "sub");
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("1", ReadFile(Folder() / "sub/a"));
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
    EXPECT_EQ(S_OK, zip_.Close());
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

TEST_F(ArchiveExtraction, AFileNeverStandsInTheWayOfAnEntryBelowIt)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1").Add("a/b", "2").AddDirectory("a").Add("b/c", "3").Add("b", "4")));
    EXPECT_EQ(S_OK, Extract("a"));
    EXPECT_TRUE(FAILED(Extract("a/b")));
    EXPECT_TRUE(FAILED(Extract("a/")));
    EXPECT_EQ(S_OK, Extract("b/c"));
    EXPECT_TRUE(FAILED(Extract("b")));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ((std::set<std::string>{"a", "b", "b/c"}), Listing(Folder()));
}

// ---------------------------------------------------------------------------------------------
// Whole or not at all

TEST_F(ArchiveExtraction, PutsFilesInTheirPlacesWhenTheArchiveIsClosed)
{
    Put(Folder() / "old", "mine");
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("old", "1").Add("new", "2").Add("large", LongContent(400'000)).Deflated()));
    for (const std::string& name : Browse())
        EXPECT_EQ(S_OK, Extract(name));
    EXPECT_EQ("mine", ReadFile(Folder() / "old"));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "new"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("1", ReadFile(Folder() / "old"));
    EXPECT_EQ((std::set<std::string>{"large", "new", "old"}), Listing(Folder()));
}

TEST_F(ArchiveExtraction, PutsFilesInTheirPlacesWhenTheArchiveIsGivenUp)
{
    {
        ZALSysZipFile zip;
        ZipBytes().Add("a", "1").Write(ArchivePath());
        ASSERT_EQ(S_OK, zip.OpenZip(Text(ArchivePath()), ZALZipRead));
        EXPECT_EQ(S_OK, zip.ExtractFile(Text(Folder()), "a", ZALZipExtractReplace));
    }
    EXPECT_EQ("1", ReadFile(Folder() / "a"));
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
}

TEST_F(ArchiveExtraction, ANewFolderAppearsAsAWhole)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/a", "1").Add("sub/b/c", "2").Add("sub/a", "3")));
    for (const char* name : {"sub/a", "sub/b/c", "sub/a"})
        EXPECT_EQ(S_OK, Extract(name));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "sub"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("3", ReadFile(Folder() / "sub/a"));
    EXPECT_EQ((std::set<std::string>{"sub", "sub/a", "sub/b", "sub/b/c"}), Listing(Folder()));
}

TEST_F(ArchiveExtraction, FilesJoinAFolderThatAppearsMeanwhile)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/a", "1").Add("sub/b/c", "2").Add("sub/d", "3")));
    EXPECT_EQ(S_OK, Extract("sub/a"));
    EXPECT_EQ(S_OK, Extract("sub/b/c"));
    std::filesystem::create_directory(Folder() / "sub");
    Put(Folder() / "sub/a", "a longer text of before");
    Put(Folder() / "sub/mine", "mine");
    EXPECT_EQ(S_OK, Extract("sub/d"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("1", ReadFile(Folder() / "sub/a"));
    EXPECT_EQ("mine", ReadFile(Folder() / "sub/mine"));
    EXPECT_EQ((std::set<std::string>{"sub", "sub/a", "sub/b", "sub/b/c", "sub/d", "sub/mine"}), Listing(Folder()));
}

TEST_F(ArchiveExtraction, AFileThatCannotJoinLeavesNothingBehind)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/a", "1").Add("sub/b/c", "2")));
    EXPECT_EQ(S_OK, Extract("sub/a"));
    EXPECT_EQ(S_OK, Extract("sub/b/c"));
    Put(Folder() / "sub", "mine");
    EXPECT_TRUE(FAILED(zip_.Close()));
    EXPECT_EQ("mine", ReadFile(Folder() / "sub"));
    EXPECT_EQ(std::set<std::string>{"sub"}, Listing(Folder()));
}

TEST_F(ArchiveExtraction, AFileThatFailsTakesItsNewFolderWithIt)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("sub/b/a", "1").WithWrongChecksum().Add("sub", "2")));
    EXPECT_TRUE(FAILED(Extract("sub/b/a")));
    EXPECT_EQ(S_OK, Extract("sub"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("2", ReadFile(Folder() / "sub"));
}

TEST_F(ArchiveExtraction, ServesSeveralFolders)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1").Add("b", "2")));
    EXPECT_EQ(S_OK, Extract("a"));
    EXPECT_EQ(S_OK, zip_.ExtractFile(Text(Outside()), "b", ZALZipExtractReplace));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
    EXPECT_EQ(std::set<std::string>{"b"}, Listing(Outside()));
}

TEST_F(ArchiveExtraction, ExtractsAsManyAsAreBroughtToTheDiskOneByOneAndMore)
{
    for (const std::size_t count : {ZipOutput::MaximumSingleSyncs, ZipOutput::MaximumSingleSyncs + 1}) {
        ExtractAll(ZipBytes().AddMany(static_cast<unsigned int>(count)));
        EXPECT_EQ(count, Listing(Folder()).size());
    }
}

class ManyFiles : public ArchiveFixture {
protected:
    ManyFiles() { syncsAside.count = syncsAtTheEnd.count = 0; }
    ~ManyFiles() override { syncsAside.fail = syncsAtTheEnd.fail = false; }

    HRESULT ExtractFiles(std::size_t count)
    {
        return ExtractAndClose(ZipBytes().AddMany(static_cast<unsigned int>(count)));
    }
};

TEST_F(ManyFiles, AreBroughtToTheDiskAtTheEnd)
{
    EXPECT_EQ(S_OK, ExtractFiles(ZipOutput::FilesBetweenSyncs - 1));
    EXPECT_EQ(0, syncsAside.count);
    EXPECT_EQ(2, syncsAtTheEnd.count); // their content, their places
}

TEST_F(ManyFiles, ComeToTheDiskWhileOthersAreExtracted)
{
    EXPECT_EQ(S_OK, ExtractFiles(ZipOutput::FilesBetweenSyncs));
    EXPECT_EQ(1, syncsAside.count);
    EXPECT_EQ(2, syncsAtTheEnd.count);
    EXPECT_EQ(ZipOutput::FilesBetweenSyncs, Listing(Folder()).size());
}

TEST_F(ManyFiles, TheEndAloneTellsOfADiskThatFails)
{
    syncsAside.fail = true;
    EXPECT_EQ(S_OK, ExtractFiles(ZipOutput::FilesBetweenSyncs));
    EXPECT_EQ(ZipOutput::FilesBetweenSyncs, Listing(Folder()).size());
    EXPECT_NE(syncsAtTheEnd.file, syncsAside.file); // a failure is told once for each descriptor
}

TEST_F(ManyFiles, OfADiskThatFailsAtTheEndNoneIsLeft)
{
    syncsAtTheEnd.fail = true;
    EXPECT_EQ(E_FAIL, ExtractFiles(ZipOutput::FilesBetweenSyncs - 1));
    EXPECT_EQ(std::set<std::string>{}, Listing(Folder()));
}

TEST_F(ArchiveExtraction, AKilledProcessLeavesNoFileInAnyPlace)
{
    Put(Folder() / "old", "mine");
    const std::string content = LongContent(400'000);
    ZipBytes().Add("old", content).Add("sub/new", "2").Add("large", content).Deflated().Write(ArchivePath());
    const pid_t child = fork();
    if (child == 0) {
        ZALSysZipFile zip;
        bool isExtracted = SUCCEEDED(zip.OpenZip(Text(ArchivePath()), ZALZipRead));
        for (const char* name : {"old", "sub/new", "large"})
            isExtracted = isExtracted && SUCCEEDED(zip.ExtractFile(Text(Folder()), name, ZALZipExtractReplace));
        raise(isExtracted ? SIGKILL : SIGABRT);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(SIGKILL, WTERMSIG(status));
    EXPECT_EQ("mine", ReadFile(Folder() / "old"));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "sub/new"));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "large"));

    // What it has left is cleared with the next extraction, once it is old enough.
    for (const auto& entry : std::filesystem::directory_iterator(Folder()))
        std::filesystem::last_write_time(entry, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(S_OK, ExtractOnly(ZipBytes().Add("a", "1")));
    EXPECT_EQ((std::set<std::string>{"a", "old"}), Listing(Folder()));
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
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("mine", ReadFile(Folder() / "a"));
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
}

TEST_F(ArchiveExtraction, AnArchiveThatHasNoRoomOnTheDiskLeavesNothing)
{
    // Memory is the smallest disk that a machine has; an archive may announce more than one of usual size holds.
    std::string folder = "/dev/shm/openhost-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    const std::uint64_t room = ZipOutput(folder).Room();
    ZipBytes archive;
    archive.Add("a", "1");
    for (std::uint64_t announced = 0; announced <= room; announced += ZALZipMaximumEntrySize)
        archive.Add("large-" + std::to_string(announced), "1").AnnouncingSize(ZALZipMaximumEntrySize);
    if (room < ZALZipMaximumTotalSize - ZALZipMaximumEntrySize) {
        ASSERT_EQ(S_OK, Open(archive));
        EXPECT_TRUE(FAILED(zip_.ExtractFile(Text(folder), "a", ZALZipExtractReplace)));
        EXPECT_EQ(S_OK, zip_.Close());
        EXPECT_TRUE(Listing(folder).empty());
    }
    std::filesystem::remove_all(folder);
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
    ASSERT_EQ(S_OK, Open(ZipBytes().Add(name, "1")));
    EXPECT_TRUE(FAILED(Extract(name)));
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
    EXPECT_TRUE(FAILED(zip_.Close()));
    EXPECT_TRUE(Listing(Outside()).empty());
    EXPECT_EQ(std::set<std::string>{"sub"}, Listing(Folder()));
}

TEST_F(ArchiveExtraction, RefusesToWriteThroughALinkOrToReplaceIt)
{
    Put(Outside() / "mine", "mine");
    std::filesystem::create_symlink(Outside() / "mine", Folder() / "file");
    std::filesystem::create_symlink(Outside() / "new", Folder() / "dangling");
    const std::string content = LongContent(4'000'000);
    RefuseAll(ZipBytes().Add("file", "1").Add("dangling", "1"));
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
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ((std::set<std::string>{"link", "link/a"}), Listing(Folder()));
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
    EXPECT_TRUE(FAILED(Extract(tooDeep + "a")));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("1", ReadFile(Folder() / (deep + "a")));
    EXPECT_FALSE(std::filesystem::exists(Folder() / (deep + "d")));
}

// ---------------------------------------------------------------------------------------------
// Limits

class ArchiveLimits : public ArchiveFixture {
protected:
    void ExtractWith(const ZipLimits& limits, const std::vector<std::size_t>& entries)
    {
        ZipReader archive(ArchivePath(), limits);
        ZipOutput output(Folder());
        try {
            for (const std::size_t entry : entries)
                ExtractZipEntry(archive, entry, output, archive.Name(entry));
        } catch (const std::runtime_error&) {
            output.Place();
            throw;
        }
        output.Place();
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

TEST_F(ArchiveLimits, AnArchiveThatAnnouncesTooMuchIsRefusedAsAWhole)
{
    ZipBytes().Add("a", "12345").Add("b", "12345").Add("c", "12345").Write(ArchivePath());
    EXPECT_THROW(ExtractWith({.totalSize = 14}, {}), std::runtime_error);
    EXPECT_NO_THROW(ExtractWith({.totalSize = 15}, {0, 1, 2}));
    EXPECT_EQ((std::set<std::string>{"a", "b", "c"}), Listing(Folder()));
}

TEST_F(ArchiveLimits, AnEntryThatIsTooLargeByItselfLeavesRoomForOthers)
{
    ZipBytes().Add("large", "123456").Add("a", "12345").Write(ArchivePath());
    EXPECT_NO_THROW(ExtractWith({.entrySize = 5, .totalSize = 5}, {1}));
}

TEST_F(ArchiveLimits, AnEntryCountsEachTimeThatItIsExtracted)
{
    ZipBytes().Add("a", "12345").Write(ArchivePath());
    EXPECT_THROW(ExtractWith({.totalSize = 9}, {0, 0}), std::runtime_error);
    EXPECT_NO_THROW(ExtractWith({.totalSize = 10}, {0, 0}));
}

TEST_F(ArchiveLimits, WhatCouldNotBeExtractedTakesNothingOfTheTotal)
{
    ZipBytes().Add("bad", "12345").WithWrongChecksum().Add("good", "12345").Write(ArchivePath());
    ZipReader archive(ArchivePath(), {.totalSize = 10});
    ZipOutput output(Folder());
    for (int turn = 0; turn < 3; ++turn)
        EXPECT_THROW(ExtractZipEntry(archive, 0, output, "bad"), std::runtime_error);
    EXPECT_NO_THROW(ExtractZipEntry(archive, 1, output, "good"));
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

TEST_F(ArchiveJournal, TellsWhyAnArchiveWasRefused)
{
    EXPECT_TRUE(FAILED(OpenBytes("404 Not Found")));
    ASSERT_EQ(1U, events_.size());
    EXPECT_EQ((nlohmann::ordered_json{
                  {"event", "refused"}, {"entry", ""}, {"reason", ArchivePath().string() + ": no archive"}}),
              events_[0]);
}

TEST_F(ArchiveJournal, TellsOfEntriesInTheirOrderWhenTheyStandThere)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1").Add("../b", "2").Add("c", "3")));
    for (const std::string& name : Browse())
        Extract(name);
    EXPECT_TRUE(events_.empty());
    EXPECT_EQ(S_OK, zip_.Close());
    ASSERT_EQ(3U, events_.size());
    EXPECT_EQ((Folder() / "a").string(), events_[0]["path"]);
    EXPECT_EQ("../b", events_[1]["entry"]);
    EXPECT_EQ((Folder() / "c").string(), events_[2]["path"]);
}

TEST_F(ArchiveJournal, TellsOfAFileWhosePlaceIsTakenMeanwhile)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1").Add("b", "2")));
    EXPECT_EQ(S_OK, Extract("a"));
    EXPECT_EQ(S_OK, Extract("b"));
    std::filesystem::create_directory(Folder() / "a");
    EXPECT_TRUE(FAILED(zip_.Close()));
    ASSERT_EQ(2U, events_.size());
    EXPECT_EQ("a", events_[0]["entry"]);
    EXPECT_EQ("no file to replace", events_[0]["reason"]);
    EXPECT_EQ((Folder() / "b").string(), events_[1]["path"]);
    EXPECT_EQ((std::set<std::string>{"a", "b"}), Listing(Folder()));
}

TEST_F(ArchiveJournal, TellsOfANameThatIsNoText)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a\xED\xA0\x80", "1").NamedInUTF8().Add("b", "2")));
    for (const std::string& name : Browse())
        Extract(name);
    EXPECT_EQ(S_OK, zip_.Close());
    ASSERT_EQ(2U, events_.size());
    EXPECT_EQ("refused", events_[0]["event"]);
    EXPECT_EQ("the archive has no entry of this name, or its name is not valid text", events_[0]["reason"]);
    EXPECT_EQ(std::set<std::string>{"b"}, Listing(Folder()));
}

} // namespace
} // namespace openhost::testing
