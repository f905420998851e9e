#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* Question = "OverwriteNotify";

class Extraction : public DownloadFixture {
protected:
    /// Extracts `archive` into the user's folder and gives the list of files.
    std::vector<std::string> Extract(const ZipBytes& archive, HRESULT expected = S_OK)
    {
        ZALListValZALUnicodeString files = ListOf({"from before"});
        EXPECT_EQ(ExtractFiles(Archive(archive), PartsFolder(), files), expected);
        return Texts(files);
    }
    void Finish(const ZipBytes& archive) { Probe.FinishExtraction(Archive(archive), PartsFolder()); }
};

// ---------------------------------------------------------------------------------------------
// Files

TEST_F(Extraction, SideFilesAreLeftOut)
{
    const auto files = Extract(
        ZipBytes().Add("a.txt", "t").Add("kr_metadata.csv", "m").Add("readme.TXT", "r").Add("sub/b.txt").Add("c", "c"));

    EXPECT_THAT(files, ElementsAre(InParts("c")));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("c"));
}

TEST_F(Extraction, MetadataFileInAFolderIsExtracted)
{
    EXPECT_THAT(Extract(ZipBytes().Add("sub/kr_metadata.csv", "m")), ElementsAre(InParts("sub\\kr_metadata.csv")));
    EXPECT_EQ(ReadFile(Parts() / "sub/kr_metadata.csv"), "m");
}

TEST_F(Extraction, EntryOfFewerThanFourCharactersIsExtracted)
{
    EXPECT_THAT(Extract(ZipBytes().Add("a", "1").Add("txt", "2")), ElementsAre(InParts("a"), InParts("txt")));
    EXPECT_EQ(ReadFile(Parts() / "txt"), "2");
}

TEST_F(Extraction, FilesAreListedInArchiveOrderWithTheirFullPaths)
{
    const auto files = Extract(ZipBytes().Add("z", "1").Add("sub/deep/a.ZALPart", "2").Deflated().Add("b", "3"));

    EXPECT_THAT(files, ElementsAre(InParts("z"), InParts("sub\\deep\\a.ZALPart"), InParts("b")));
    EXPECT_EQ(ReadFile(Parts() / "sub/deep/a.ZALPart"), "2");
}

TEST_F(Extraction, EachListedFileIsTraced)
{
    Extract(ZipBytes().Add("z", "1").Add("a.txt").AddDirectory("sub/").Add("sub/a", "2"));

    EXPECT_THAT(Traces(), ElementsAre("ZALVelmartFileDownloader::ExtractedFiles :" + InParts("z") + "\n",
                                      "ZALVelmartFileDownloader::ExtractedFiles :" + InParts("sub\\a") + "\n"));
}

TEST_F(Extraction, FoldersAreMadeButNotListed)
{
    EXPECT_THAT(Extract(ZipBytes().AddDirectory("sub/").Add("sub/a", "1")), ElementsAre(InParts("sub\\a")));
    EXPECT_TRUE(is_directory(Parts() / "sub"));
}

TEST_F(Extraction, FileWhosePlaceAFolderHoldsIsNotListed)
{
    WriteFile(Parts() / "taken/inside", "x");
    EXPECT_THAT(Extract(ZipBytes().Add("taken", "1").Add("b", "2")), ElementsAre(InParts("b")));
    EXPECT_EQ(ReadFile(Parts() / "taken/inside"), "x");
}

TEST_F(Extraction, FileWhosePlaceASocketHoldsIsListed)
{
    ASSERT_EQ(mknod((Parts() / "taken").c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_THAT(Extract(ZipBytes().Add("taken", "1")), ElementsAre(InParts("taken")));
}

TEST_F(Extraction, ExistingFilesAreReplaced)
{
    WriteFile(Parts() / "a", "a longer text");
    Extract(ZipBytes().Add("a", "new"));
    EXPECT_EQ(ReadFile(Parts() / "a"), "new");
}

TEST_F(Extraction, NamesBeyondAsciiAreKept)
{
    EXPECT_THAT(Extract(ZipBytes().Add("écrou/中.ZALPart", "1")), ElementsAre(InParts("écrou\\中.ZALPart")));
    EXPECT_EQ(ReadFile(Parts() / "écrou/中.ZALPart"), "1");
}

TEST_F(Extraction, FileThatFailsIsListedAndTracedAllTheSame)
{
    const auto files = Extract(ZipBytes().Add("a", "1").Add("damaged", "22").WithWrongChecksum().Add("b", "3"));

    EXPECT_THAT(files, ElementsAre(InParts("a"), InParts("damaged"), InParts("b")));
    EXPECT_TRUE(Traced("ZALVelmartFileDownloader::ExtractedFiles :" + InParts("damaged")));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a", "b"));
}

TEST_F(Extraction, EncryptedFileIsListedThoughItCannotBeRead)
{
    EXPECT_THAT(Extract(ZipBytes().Add("secret", "1").Encrypted()), ElementsAre(InParts("secret")));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

class HostileEntry : public Extraction, public ::testing::WithParamInterface<NamedText> {};

TEST_P(HostileEntry, WritesNothingOutsideTheFolder)
{
    WriteFile(Folder() / "victim", "untouched");

    Extract(ZipBytes().Add(GetParam().text, "evil").Add("good", "1"));

    EXPECT_EQ(ReadFile(Folder() / "victim"), "untouched");
    EXPECT_THAT(FilesBelow(Folder()), ElementsAre("parts/good", "temp/VelmartDownloadedQ7Files.zip", "victim"));
}

INSTANTIATE_TEST_SUITE_P(Names, HostileEntry,
                         ::testing::Values(NamedText{"BesideTheFolder", "../victim"},
                                           NamedText{"NewBesideTheFolder", "../new"},
                                           NamedText{"BesideTheFolderWithBackslash", "..\\victim"},
                                           NamedText{"OverAnotherFolder", "sub/../../victim"},
                                           NamedText{"OverAnotherFolderWithBackslash", "sub\\..\\..\\victim"},
                                           NamedText{"Absolute", "/victim"},
                                           NamedText{"AbsoluteWithBackslash", "\\victim"}, NamedText{"Parent", ".."}));

TEST_F(Extraction, LinkOutOfTheFolderIsNotFollowed)
{
    WriteFile(Folder() / "outside/victim", "untouched");

    Extract(ZipBytes().Add("link", "../outside").SymbolicLink().Add("link/victim", "evil"));

    EXPECT_EQ(ReadFile(Folder() / "outside/victim"), "untouched");
}

// ---------------------------------------------------------------------------------------------
// Failures

class FailedExtraction : public Extraction {
protected:
    void ExpectFailure(const ZALUnicodeString& archive, const ZALUnicodeString& folder)
    {
        ZALListValZALUnicodeString files = ListOf({"from before"});
        EXPECT_EQ(ExtractFiles(archive, folder, files), E_FAIL);
        EXPECT_EQ(files.Size(), 0) << "the list is emptied before any test";
        EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    }
};

TEST_F(FailedExtraction, OfAnEmptyArchivePath)
{
    ExpectFailure("", PartsFolder());
}

TEST_F(FailedExtraction, OfAnEmptyFolder)
{
    ExpectFailure(Archive(ZipBytes().Add("a")), "");
}

TEST_F(FailedExtraction, OfAMissingArchive)
{
    ExpectFailure(ZALUnicodeString((Temp() / "missing.zip").c_str()), PartsFolder());
}

TEST_F(FailedExtraction, OfAFileThatIsNoArchive)
{
    WriteFile(TemporaryFile(), "PK\x03\x04 but nothing more");
    ExpectFailure(TemporaryFile().c_str(), PartsFolder());
}

TEST_F(FailedExtraction, OfAnArchiveWithoutEntries)
{
    ExpectFailure(Archive(ZipBytes()), PartsFolder());
}

// ---------------------------------------------------------------------------------------------
// The whole sequence

TEST_F(Extraction, NewFilesEndAsSucceededInTheFileEnvironment)
{
    Finish(ZipBytes().Add("a.ZALPart", "1").Add("b.ZALPart", "2"));

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart"), InParts("b.ZALPart")})));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(Extraction, ArchiveOfSideFilesAloneSucceedsWithAnEmptyList)
{
    Finish(ZipBytes().Add("a.txt", "1").Add("kr_metadata.csv", "2"));
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {})));
}

TEST_F(Extraction, FailedFilesStillEndAsSucceeded)
{
    Finish(ZipBytes().Add("damaged", "22").WithWrongChecksum());
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("damaged")})));
}

TEST_F(Extraction, FileThatIsNoArchiveEndsAsFailedWithNothing)
{
    WriteFile(TemporaryFile(), R"({"error": "gone"})");
    Probe.FinishExtraction(TemporaryFile().c_str(), PartsFolder());
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(Extraction, ArchiveWithoutEntriesEndsAsFailedWithNothing)
{
    Finish(ZipBytes());
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(Extraction, ArchiveThatGoesDuringTheQuestionEndsAsFailedInTheFileEnvironment)
{
    WriteFile(Parts() / "a", "old");
    Loop().Post([this] { remove(TemporaryFile()); });

    Finish(ZipBytes().Add("a", "new"));

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadFailed, {})));
    EXPECT_EQ(ReadFile(Parts() / "a"), "old");
}

TEST_F(Extraction, RefusalWritesNothingAndNotifiesNobody)
{
    WriteFile(Parts() / "a", "old");
    Surface().Answer(Question, ZALDlgAnswerNo);

    Finish(ZipBytes().Add("new", "1").Add("a", "2"));
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a"));
    EXPECT_EQ(ReadFile(Parts() / "a"), "old");
    EXPECT_THAT(Traces(), IsEmpty());
}

TEST_F(Extraction, ClosingTheQuestionLetsTheExtractionGoOn)
{
    WriteFile(Parts() / "a", "old");

    Finish(ZipBytes().Add("a", "new"));

    EXPECT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(ReadFile(Parts() / "a"), "new");
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a")})));
}

TEST_F(Extraction, NothingIsWrittenWhileTheQuestionIsUp)
{
    WriteFile(Parts() / "a", "old");
    std::vector<std::string> during;
    Loop().Post([&] { during = FilesBelow(Parts()); });
    Surface().Answer(Question, ZALDlgAnswerYes);

    Finish(ZipBytes().Add("new", "1").Add("a", "2"));

    EXPECT_THAT(during, ElementsAre("a"));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a", "new"));
}

TEST_F(Extraction, DownloadThatEndsDuringTheQuestionDoesNotTakeItsPlace)
{
    const HttpHeaders first{{"content-type", "application/octet-stream"},
                            {"content-disposition", "attachment; filename=first.zip"}};
    WriteFile(Parts() / "a", "old");
    Loop().Post([this] { Transfer(ZipBytes().Add("b", "second").Bytes()); });

    Transfer(ZipBytes().Add("a", "first").Bytes(), 200, first);

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("b")}),
                                               WithFiles(Notification::DownloadSucceeded, {InParts("a")})));
    EXPECT_EQ(ReadFile(Parts() / "a"), "first");
}

TEST_F(Extraction, ArchiveStaysAfterwards)
{
    const ZipBytes archive = ZipBytes().Add("a", "1");
    Finish(archive);
    EXPECT_EQ(ReadFile(TemporaryFile()), archive.Bytes());
}

// ---------------------------------------------------------------------------------------------
// The root product in the first place

TEST_F(Extraction, RootProductChangesPlacesWithTheFirstFile)
{
    Documents().SetDocument("A.ZALProduct", {{"B.ZALProduct", "C.ZALProduct"}});
    Documents().SetDocument("B.ZALProduct", {{"part.ZALPart"}});
    Documents().SetDocument("C.ZALProduct", {});

    Finish(ZipBytes().Add("part.ZALPart").Add("B.ZALProduct").Add("C.ZALProduct").Add("A.ZALProduct").Add("last"));

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                      {InParts("A.ZALProduct"), InParts("B.ZALProduct"), InParts("C.ZALProduct"),
                                       InParts("part.ZALPart"), InParts("last")})));
}

TEST_F(Extraction, RootProductInTheFirstPlaceStaysThere)
{
    Finish(ZipBytes().Add("A.ZALProduct").Add("a.ZALPart"));
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                                         {InParts("A.ZALProduct"), InParts("a.ZALPart")})));
}

TEST_F(Extraction, ListWithoutProductKeepsArchiveOrder)
{
    Finish(ZipBytes().Add("z.ZALPart").Add("a.ZALPart"));
    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("z.ZALPart"), InParts("a.ZALPart")})));
}

TEST_F(Extraction, SecondOfTwoUnreferencedProductsMovesToTheFront)
{
    Documents().SetDocument("A.ZALProduct", {{"elsewhere.ZALProduct"}});
    Documents().SetDocument("B.ZALProduct", {{"elsewhere.ZALProduct"}});

    Finish(ZipBytes().Add("x.ZALPart").Add("A.ZALProduct").Add("B.ZALProduct"));

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                      {InParts("B.ZALProduct"), InParts("A.ZALProduct"), InParts("x.ZALPart")})));
}

TEST_F(Extraction, FirstProductMovesToTheFrontWhenTwoHaveTheSameName)
{
    Finish(ZipBytes().Add("x.ZALPart").Add("one/A.ZALProduct").Add("two/A.ZALProduct"));

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                                         {InParts("one\\A.ZALProduct"), InParts("x.ZALPart"),
                                                          InParts("two\\A.ZALProduct")})));
}

} // namespace
} // namespace openhost::testing
