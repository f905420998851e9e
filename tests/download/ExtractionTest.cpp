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
        ZALListValZALUnicodeString files = List({"from before"});
        EXPECT_EQ(expected, ExtractFiles(Archive(archive), PartsFolder(), files));
        return TextsOf(files);
    }
    void Finish(const ZipBytes& archive) { Probe.FinishExtraction(Archive(archive), PartsFolder()); }
};

// ---------------------------------------------------------------------------------------------
// Files

TEST_F(Extraction, SideFilesAreLeftOut)
{
    EXPECT_THAT(Extract(ZipBytes()
                            .Add("a.txt", "t")
                            .Add("kr_metadata.csv", "m")
                            .Add("readme.TXT", "r")
                            .Add("sub/b.txt")
                            .Add("sub/kr_metadata.csv", "m")
                            .Add("c", "c")
                            .Add("txt", "2")),
                ElementsAre(InParts("sub\\kr_metadata.csv"), InParts("c"), InParts("txt")));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("c", "sub/kr_metadata.csv", "txt"));
}

TEST_F(Extraction, FilesAreTracedAndListedInArchiveOrderWithTheirFullPaths)
{
    WriteBytes(Parts() / "z", "a longer text");
    const auto files = Extract(ZipBytes()
                                   .Add("z", "1")
                                   .AddDirectory("sub/")
                                   .Add("sub/deep/a.ZALPart", "2")
                                   .Deflated()
                                   .Add("a.txt")
                                   .Add("écrou/中.ZALPart", "3"));
    EXPECT_THAT(files, ElementsAre(InParts("z"), InParts("sub\\deep\\a.ZALPart"), InParts("écrou\\中.ZALPart")));
    EXPECT_EQ("1", ReadFile(Parts() / "z"));
    EXPECT_EQ("2", ReadFile(Parts() / "sub/deep/a.ZALPart"));
    EXPECT_EQ("3", ReadFile(Parts() / "écrou/中.ZALPart"));
    std::vector<std::string> traces;
    for (const std::string& file : files)
        traces.push_back("ZALVelmartFileDownloader::ExtractedFiles :" + file + "\n");
    EXPECT_EQ(traces, Traces());
}

TEST_F(Extraction, FoldersAreMadeButNotListed)
{
    EXPECT_THAT(Extract(ZipBytes().AddDirectory("sub/").Add("a", "1")), ElementsAre(InParts("a")));
    EXPECT_TRUE(is_directory(Parts() / "sub"));
}

TEST_F(Extraction, FileThatCannotBeReadIsListedAndTracedAllTheSame)
{
    const auto files = Extract(
        ZipBytes().Add("a", "1").Add("damaged", "22").WithWrongChecksum().Add("secret", "1").Encrypted().Add("b", "3"));
    EXPECT_THAT(files, ElementsAre(InParts("a"), InParts("damaged"), InParts("secret"), InParts("b")));
    EXPECT_TRUE(Traced("ZALVelmartFileDownloader::ExtractedFiles :" + InParts("damaged")));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a", "b"));
}

TEST_F(Extraction, FileWhosePlaceAFolderHoldsIsNotListed)
{
    WriteBytes(Parts() / "taken/inside", "x");
    EXPECT_THAT(Extract(ZipBytes().Add("taken", "1").Add("b", "2")), ElementsAre(InParts("b")));
    EXPECT_EQ("x", ReadFile(Parts() / "taken/inside"));
}

TEST_F(Extraction, FileWhosePlaceASocketHoldsIsListed)
{
    ASSERT_EQ(0, mknod((Parts() / "taken").c_str(), S_IFSOCK | 0600, 0));
    EXPECT_THAT(Extract(ZipBytes().Add("taken", "1")), ElementsAre(InParts("taken")));
}

class HostileEntry : public Extraction, public ::testing::WithParamInterface<NamedText> {};

TEST_P(HostileEntry, WritesNothingOutsideTheFolder)
{
    WriteBytes(Folder() / "victim", "untouched");
    Extract(ZipBytes().Add(GetParam().text, "evil").Add("good", "1"));
    EXPECT_EQ("untouched", ReadFile(Folder() / "victim"));
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
    WriteBytes(Folder() / "outside/victim", "untouched");
    Extract(ZipBytes().Add("link", "../outside").SymbolicLink().Add("link/victim", "evil"));
    EXPECT_EQ("untouched", ReadFile(Folder() / "outside/victim"));
}

// ---------------------------------------------------------------------------------------------
// Failures

TEST_F(Extraction, FailsWithAnEmptiedListWithoutAnArchiveWithEntriesAndAFolder)
{
    WriteBytes(Temp() / "no archive.zip", "PK\x03\x04 but nothing more");
    ZipBytes().Write(Temp() / "empty.zip");
    const ZALUnicodeString good = Archive(ZipBytes().Add("a"));
    const std::vector<std::pair<ZALUnicodeString, ZALUnicodeString>> cases = {
        {"", PartsFolder()},
        {good, ""},
        {(Temp() / "missing.zip").c_str(), PartsFolder()},
        {(Temp() / "no archive.zip").c_str(), PartsFolder()},
        {(Temp() / "empty.zip").c_str(), PartsFolder()}};
    for (const auto& [archive, folder] : cases) {
        ZALListValZALUnicodeString files = List({"from before"});
        EXPECT_EQ(E_FAIL, ExtractFiles(archive, folder, files)) << ToUtf8(archive);
        EXPECT_EQ(0, files.Size()) << ToUtf8(archive);
    }
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// The whole sequence

TEST_F(Extraction, NewFilesEndAsSucceededInArchiveOrderAndTheArchiveStays)
{
    const ZipBytes archive = ZipBytes().Add("z.ZALPart", "1").Add("a.ZALPart", "22").WithWrongChecksum();
    Finish(archive);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"z.ZALPart", "a.ZALPart"})));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_EQ(archive.Bytes(), ReadFile(TemporaryFile()));
}

TEST_F(Extraction, ArchiveOfSideFilesAloneSucceedsWithAnEmptyList)
{
    Finish(ZipBytes().Add("a.txt", "1").Add("kr_metadata.csv", "2"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({})));
}

TEST_F(Extraction, FileThatIsNoArchiveOrEmptyEndsAsFailedWithNothing)
{
    WriteBytes(TemporaryFile(), R"({"error": "gone"})");
    Probe.FinishExtraction(TemporaryFile().c_str(), PartsFolder());
    Finish(ZipBytes());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
}

TEST_F(Extraction, ArchiveThatGoesDuringTheQuestionFailsInTheFileEnvironment)
{
    WriteBytes(Parts() / "a", "old");
    Loop().Post([this] { remove(TemporaryFile()); });
    Finish(ZipBytes().Add("a", "new"));
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadFailed, {})));
    EXPECT_EQ("old", ReadFile(Parts() / "a"));
}

TEST_F(Extraction, RefusalWritesNothingAndNotifiesNobody)
{
    WriteBytes(Parts() / "a", "old");
    Surface().Answer(Question, ZALDlgAnswerNo);
    Finish(ZipBytes().Add("new", "1").Add("a", "2"));
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a"));
    EXPECT_EQ("old", ReadFile(Parts() / "a"));
    EXPECT_THAT(Traces(), IsEmpty());
}

TEST_F(Extraction, ClosingTheQuestionLetsTheExtractionGoOn)
{
    WriteBytes(Parts() / "a", "old");
    Finish(ZipBytes().Add("a", "new"));
    EXPECT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("new", ReadFile(Parts() / "a"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a"})));
}

TEST_F(Extraction, NothingIsWrittenWhileTheQuestionIsUp)
{
    WriteBytes(Parts() / "a", "old");
    std::vector<std::string> during;
    Loop().Post([&] { during = FilesBelow(Parts()); });
    Surface().Answer(Question, ZALDlgAnswerYes);
    Finish(ZipBytes().Add("new", "1").Add("a", "2"));
    EXPECT_THAT(during, ElementsAre("a"));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a", "new"));
}

TEST_F(Extraction, DownloadThatEndsDuringTheQuestionDoesNotTakeItsPlace)
{
    WriteBytes(Parts() / "a", "old");
    Loop().Post([this] { Transfer(ZipBytes().Add("b", "second").Bytes()); });
    Transfer(ZipBytes().Add("a", "first").Bytes(), 200, FileNamed("first.zip"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"b"}), Succeeded({"a"})));
    EXPECT_EQ("first", ReadFile(Parts() / "a"));
}

// ---------------------------------------------------------------------------------------------
// The root product in the first place

TEST_F(Extraction, RootProductChangesPlacesWithTheFirstFile)
{
    Documents().SetDocument("A.ZALProduct", {{"B.ZALProduct", "C.ZALProduct"}});
    Documents().SetDocument("B.ZALProduct", {{"part.ZALPart"}});
    Documents().SetDocument("C.ZALProduct", {});
    const auto extracted = [this](const std::vector<std::string>& entries) {
        ZipBytes archive;
        for (const std::string& entry : entries)
            archive.Add(entry);
        Receiver.Received.clear();
        Surface().Answer(Question, ZALDlgAnswerYes);
        Finish(archive);
        return Receiver.Received;
    };
    EXPECT_THAT(extracted({"part.ZALPart", "B.ZALProduct", "C.ZALProduct", "A.ZALProduct", "last"}),
                ElementsAre(Succeeded({"A.ZALProduct", "B.ZALProduct", "C.ZALProduct", "part.ZALPart", "last"})));
    EXPECT_THAT(extracted({"D.ZALProduct", "a.ZALPart"}), ElementsAre(Succeeded({"D.ZALProduct", "a.ZALPart"})));
    EXPECT_THAT(extracted({"x.ZALPart", "one/A.ZALProduct", "two/A.ZALProduct"}),
                ElementsAre(Succeeded({"one\\A.ZALProduct", "x.ZALPart", "two\\A.ZALProduct"})))
        << "the first of two of one name";
    for (const char* name : {"E.ZALProduct", "F.ZALProduct"})
        Documents().SetDocument(name, {{"elsewhere.ZALProduct"}});
    EXPECT_THAT(extracted({"x.ZALPart", "E.ZALProduct", "F.ZALProduct"}),
                ElementsAre(Succeeded({"F.ZALProduct", "E.ZALProduct", "x.ZALPart"})))
        << "the second of two that no other points to";
}

} // namespace
} // namespace openhost::testing
