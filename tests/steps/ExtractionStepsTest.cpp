// The check and the unpacking of an archive step by step.

#include "tests/download/DownloadFixture.h"
#include "tests/steps/Services.h"
#include "tests/support/FailingMemory.h"

#include "download/ZALVelmartFileDownloaderExtraction.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ExtractionSteps : public OnServices<DownloadFixture> {
protected:
    ExtractionSteps() { Asked().statResult = E_FAIL; } // no file is there

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
    static void FindFiles()
    {
        Asked().statResult = S_OK;
        Asked().mode = ZALFileTypeRegular;
    }
    static Texts ZipCalls() { return Calls({"zip"}); }
    std::string ExtractionOf(const std::string& entry) const
    {
        return "zip extract " + Parts().string() + " " + entry + " 17";
    }
};

TEST_F(ExtractionSteps, ReadTheArchiveTwiceAndHandEntriesOverAsTheyStandInIt)
{
    Asked().entries = {"a.txt", "sub/b.ZALPart", "kr_metadata.csv", "sub\\c"};

    Finish();

    EXPECT_THAT(ZipCalls(),
                ElementsAre("zip open /temp/item.zip 3", "zip browse", "zip close", "zip open /temp/item.zip 3",
                            "zip browse", ExtractionOf("sub/b.ZALPart"), ExtractionOf("sub\\c"), "zip close"));
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                                         {InParts("sub\\b.ZALPart"), InParts("sub\\c")})));
}

TEST_F(ExtractionSteps, KeepTheArchiveOpenWhileTheQuestionIsUp)
{
    FindFiles();
    Asked().entries = {"a"};
    Texts before;
    Loop().Post([&] { before = Asked().calls; });
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);

    Finish();

    EXPECT_THAT(before, ElementsAre("zip open /temp/item.zip 3", "zip browse"));
    EXPECT_EQ(ZipCalls(), Texts({"zip open /temp/item.zip 3", "zip browse", "zip close"}));
}

TEST_F(ExtractionSteps, TakeEntriesThatFailForExtracted)
{
    Asked().entries = {"a", "b"};
    Asked().extractResult = E_FAIL;

    Finish();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a"), InParts("b")})));
}

TEST_F(ExtractionSteps, AnswerWhatTheClosingAnswers)
{
    Asked().entries = {"a"};
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL, E_INVALIDARG}) {
        Asked().archiveCloseResult = result;
        EXPECT_EQ(Check(), result);
        EXPECT_EQ(Extract(), result);
    }
}

TEST_F(ExtractionSteps, FailWithoutEntriesThoughTheClosingSucceeds)
{
    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_EQ(Extract(), E_FAIL);
    EXPECT_EQ(Asked().archiveClosings, 2);
}

TEST_F(ExtractionSteps, CloseAnArchiveThatCannotBeBrowsedAndFail)
{
    Asked().entries = {"a"};
    Asked().browseResult = E_FAIL;

    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_EQ(Extract(), E_FAIL);

    EXPECT_THAT(ZipCalls(), ElementsAre("zip open /temp/item.zip 3", "zip browse", "zip close",
                                        "zip open /temp/item.zip 3", "zip browse", "zip close"));
}

TEST_F(ExtractionSteps, EndAsFailedWithNothingWhenTheCheckCannotCloseTheArchive)
{
    FindFiles();
    Asked().entries = {"a"};
    Asked().failingArchiveClose = 1;

    for (const int answer : {ZALDlgAnswerYes, ZALDlgAnswerNo}) {
        Receiver.Received.clear();
        Asked().archiveClosings = 0;
        Surface().Answer("OverwriteNotify", answer);
        Finish();
        EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed))) << answer;
    }
    EXPECT_THAT(ZipCalls(), Not(Contains(StartsWith("zip extract"))));
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty()) << "the folder is not asked for again";
}

TEST_F(ExtractionSteps, EndAsFailedWithTheRootInFrontWhenTheExtractionCannotCloseTheArchive)
{
    Asked().entries = {"a.ZALPart", "A.ZALProduct"};
    Asked().failingArchiveClose = 2;

    Finish();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadFailed, {InParts("A.ZALProduct"), InParts("a.ZALPart")})));
}

// ---------------------------------------------------------------------------------------------
// The documents that a product points to

class PointedSteps : public StepsFixture {
protected:
    PointedSteps() { Calls(); }
    ~PointedSteps() override
    {
        EXPECT_EQ(Asked().openStorages, 0);
        EXPECT_EQ(Asked().livingObjects, 0);
    }
    static HRESULT Get(Texts& names)
    {
        ZALListValZALUnicodeString list;
        const HRESULT result = GetPointedProducts("/p/A.ZALProduct", list);
        names = TextsOf(list);
        return result;
    }
    static HRESULT Get()
    {
        Texts names;
        return Get(names);
    }
    static Texts StorageCalls() { return Calls({"root", "storage", "manager", "end"}); }
};

TEST_F(PointedSteps, OpenReadAndCloseWithTheirArguments)
{
    Asked().pointed = {"/q/B.ZALProduct", "/q/c.ZALPart"};
    Texts names;
    EXPECT_EQ(Get(names), S_OK);
    EXPECT_THAT(names, ElementsAre("B.ZALProduct"));
    EXPECT_THAT(StorageCalls(), ElementsAre("root /p/A.ZALProduct 0 1", "storage ZALOR1 0", "manager of storage",
                                            "end of storage 0", "end of root 0"));
}

TEST_F(PointedSteps, AnswerAsTheStorageWithoutPointedSymbols)
{
    Asked().hasSymbols = false;
    for (const HRESULT result : {S_OK, S_FALSE, HRESULT{5}}) {
        Asked().storageResult = result;
        EXPECT_EQ(Get(), result);
    }
}

TEST_F(PointedSteps, AnswerAsTheQueryOtherwise)
{
    Asked().storageResult = S_FALSE;
    Asked().pointed = {"/q/B.ZALProduct"};
    for (const HRESULT result : {S_OK, HRESULT{5}, E_INVALIDARG}) {
        Asked().pointedResult = result;
        Texts names;
        EXPECT_EQ(Get(names), result);
        EXPECT_THAT(names, ElementsAre("B.ZALProduct"));
    }
}

TEST_F(PointedSteps, FailWithOneAnswerWhateverTheHostAnswers)
{
    Asked().rootResult = E_INVALIDARG;
    EXPECT_EQ(Get(), E_FAIL);
    Asked().rootResult = S_OK;
    Asked().storageResult = E_INVALIDARG;
    EXPECT_EQ(Get(), E_FAIL);
    Asked().storageResult = S_FALSE;
    Asked().hasManager = false;
    EXPECT_EQ(Get(), E_FAIL);
}

TEST_F(PointedSteps, DoNotLookAtTheClosing)
{
    Asked().storageCloseResult = E_FAIL;
    EXPECT_EQ(Get(), S_OK);
}

TEST_F(PointedSteps, CloseAndReleaseWithoutMemoryToo)
{
    Asked().pointed = {"/q/a product of some length.ZALProduct"};
    const ZALUnicodeString product = "/p/A.ZALProduct";
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        Asked().openStorages = 0;
        ZALListValZALUnicodeString names;
        try {
            memory.During([&] { GetPointedProducts(product, names); });
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(memory.HasRunOut());
        }
        EXPECT_EQ(Asked().openStorages, 0);
        EXPECT_EQ(Asked().livingObjects, 0);
    });
    EXPECT_GT(failures, 0);
}

} // namespace

} // namespace openhost::testing
