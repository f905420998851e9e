// The check and the unpacking of an archive, on archives and files of the test's own.

#include "tests/download/DownloadFixture.h"
#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"

#include "download/ZALVelmartFileDownloaderExtraction.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ScriptedArchive : public DownloadFixture {
protected:
    ScriptedArchive() { files_->statResult = E_FAIL; } // no file is there

    static constexpr const char* Path = "/temp/item.zip";

    void Finish() { Probe.FinishExtraction(Path, PartsFolder()); }
    HRESULT Check()
    {
        bool hasConflicts = false;
        bool refused = false;
        return Probe.CheckForExtractConflicts(Path, PartsFolder(), hasConflicts, refused);
    }
    HRESULT Extract()
    {
        ZALListValZALUnicodeString files;
        return ExtractFiles(Path, PartsFolder(), files);
    }
    void FindFiles()
    {
        files_->statResult = S_OK;
        files_->mode = ZALFileTypeRegular;
    }
    std::string ExtractionOf(const std::string& entry) const { return "extract " + Parts().string() + " " + entry; }

    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
    Installed<ScriptedArchives> archives_{log_};
};

TEST_F(ScriptedArchive, IsReadTwiceAndGivesItsEntriesAsTheyStandInIt)
{
    archives_->entries = {"a.txt", "sub/b.ZALPart", "kr_metadata.csv", "sub\\c"};

    Finish();

    EXPECT_THAT(log_.Take(), ElementsAre("unzip /temp/item.zip", "browse", "end", "unzip /temp/item.zip", "browse",
                                         ExtractionOf("sub/b.ZALPart"), ExtractionOf("sub\\c"), "end"));
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                                         {InParts("sub\\b.ZALPart"), InParts("sub\\c")})));
}

TEST_F(ScriptedArchive, IsOpenWhileTheQuestionIsUp)
{
    FindFiles();
    archives_->entries = {"a"};
    Texts before;
    Loop().Post([&] { before = log_.Take(); });
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);

    Finish();

    EXPECT_THAT(before, ElementsAre("unzip /temp/item.zip", "browse"));
    EXPECT_EQ(Texts{"end"}, log_.Take());
}

TEST_F(ScriptedArchive, HasEntriesThatFailTakenForExtracted)
{
    archives_->entries = {"a", "b"};
    archives_->extractResult = E_FAIL;

    Finish();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a"), InParts("b")})));
}

TEST_F(ScriptedArchive, AnswersWhatItsClosingAnswers)
{
    archives_->entries = {"a"};
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL, E_INVALIDARG}) {
        archives_->closeResult = result;
        EXPECT_EQ(result, Check());
        EXPECT_EQ(result, Extract());
    }
}

TEST_F(ScriptedArchive, WithoutEntriesFailsThoughItsClosingSucceeds)
{
    EXPECT_EQ(E_FAIL, Check());
    EXPECT_EQ(E_FAIL, Extract());
    EXPECT_EQ(2, archives_->closings);
}

TEST_F(ScriptedArchive, ThatCannotBeBrowsedIsClosedAndFails)
{
    archives_->entries = {"a"};
    archives_->browseResult = E_FAIL;

    EXPECT_EQ(E_FAIL, Check());
    EXPECT_EQ(E_FAIL, Extract());

    EXPECT_THAT(log_.Take(),
                ElementsAre("unzip /temp/item.zip", "browse", "end", "unzip /temp/item.zip", "browse", "end"));
}

TEST_F(ScriptedArchive, ThatTheCheckCannotCloseEndsAsFailedWithNothing)
{
    FindFiles();
    archives_->entries = {"a"};
    archives_->failingClosing = 1;

    for (const int answer : {ZALDlgAnswerYes, ZALDlgAnswerNo}) {
        Receiver.Received.clear();
        archives_->closings = 0;
        Surface().Answer("OverwriteNotify", answer);
        Finish();
        EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed))) << answer;
    }
    EXPECT_THAT(log_.Take(), Not(Contains(StartsWith("extract"))));
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty()) << "the folder is not asked for again";
}

TEST_F(ScriptedArchive, ThatTheExtractionCannotCloseHasItsRootInFront)
{
    archives_->entries = {"a.ZALPart", "A.ZALProduct"};
    archives_->failingClosing = 2;

    Finish();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadFailed, {InParts("A.ZALProduct"), InParts("a.ZALPart")})));
}

} // namespace

} // namespace openhost::testing
