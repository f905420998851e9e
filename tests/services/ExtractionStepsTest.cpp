// The check and the unpacking of an archive step by step. The archive is the test's own: what is defined here takes the
// place of the host's operations in this program.

#include "tests/download/DownloadFixture.h"

#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "host/archive.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

/// What the archive does and what it was asked.
struct Archive {
    std::vector<std::string> entries;
    HRESULT browseResult = S_OK;
    HRESULT extractResult = S_OK;
    HRESULT closeResult = S_OK;
    int failingClose = 0; ///< number of the closing that fails, from 1

    std::vector<std::string> calls;
    int closings = 0;
};

Archive archive;

} // namespace

class ZALZipReader {};
class ZALZipWriter {};

ZALSysZipFile::ZALSysZipFile() = default;
ZALSysZipFile::~ZALSysZipFile() = default;

HRESULT ZALSysZipFile::OpenZip(const ZALUnicodeString& path, unsigned int mode)
{
    archive.calls.push_back("open " + openhost::ToUtf8(path) + " " + std::to_string(mode));
    return S_OK;
}

HRESULT ZALSysZipFile::BrowseZip(ZALUnicodeString*& names, std::uint64_t*& sizes, unsigned int& count)
{
    archive.calls.push_back("browse");
    if (FAILED(archive.browseResult))
        return archive.browseResult;
    count = static_cast<unsigned int>(archive.entries.size());
    names = new ZALUnicodeString[count];
    sizes = new std::uint64_t[count];
    for (unsigned int index = 0; index < count; ++index)
        names[index] = openhost::FromUtf8(archive.entries[index]);
    return S_OK;
}

HRESULT ZALSysZipFile::ExtractFile(const ZALUnicodeString& folder, const ZALUnicodeString& entry, unsigned int flags)
{
    archive.calls.push_back("extract " + openhost::ToUtf8(folder) + " " + openhost::ToUtf8(entry) + " " +
                            std::to_string(flags));
    return archive.extractResult;
}

HRESULT ZALSysZipFile::AddFile(const ZALUnicodeString&, int, int, const ZALUnicodeString&, int)
{
    return E_FAIL;
}

HRESULT ZALSysZipFile::Close()
{
    archive.calls.push_back("close");
    return ++archive.closings == archive.failingClose ? E_FAIL : archive.closeResult;
}

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ExtractionSteps : public DownloadFixture {
protected:
    ExtractionSteps() { archive = {}; }
    ~ExtractionSteps() override { archive = {}; }

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
    static std::ptrdiff_t Extractions()
    {
        return std::ranges::count_if(archive.calls,
                                     [](const std::string& call) { return call.starts_with("extract"); });
    }
    std::string ExtractionOf(const std::string& entry) const
    {
        return "extract " + Parts().string() + " " + entry + " 17";
    }
};

TEST_F(ExtractionSteps, ReadTheArchiveTwiceAndHandEntriesOverAsTheyStandInIt)
{
    archive.entries = {"a.txt", "sub/b.ZALPart", "kr_metadata.csv", "sub\\c"};

    Finish();

    EXPECT_THAT(archive.calls, ElementsAre("open /temp/item.zip 3", "browse", "close", "open /temp/item.zip 3",
                                           "browse", ExtractionOf("sub/b.ZALPart"), ExtractionOf("sub\\c"), "close"));
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded,
                                                         {InParts("sub\\b.ZALPart"), InParts("sub\\c")})));
}

TEST_F(ExtractionSteps, KeepTheArchiveOpenWhileTheQuestionIsUp)
{
    WriteFile(Parts() / "a", "old");
    archive.entries = {"a"};
    std::vector<std::string> before;
    Loop().Post([&] { before = archive.calls; });
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);

    Finish();

    EXPECT_THAT(before, ElementsAre("open /temp/item.zip 3", "browse"));
    EXPECT_EQ(archive.calls.back(), "close");
    EXPECT_EQ(Extractions(), 0);
}

TEST_F(ExtractionSteps, TakeEntriesThatFailForExtracted)
{
    archive.entries = {"a", "b"};
    archive.extractResult = E_FAIL;

    Finish();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a"), InParts("b")})));
}

TEST_F(ExtractionSteps, AnswerWhatTheClosingAnswers)
{
    archive.entries = {"a"};
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL, E_INVALIDARG}) {
        archive.closeResult = result;
        EXPECT_EQ(Check(), result);
        EXPECT_EQ(Extract(), result);
    }
}

TEST_F(ExtractionSteps, FailWithoutEntriesThoughTheClosingSucceeds)
{
    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_EQ(Extract(), E_FAIL);
    EXPECT_EQ(archive.closings, 2);
}

TEST_F(ExtractionSteps, CloseAnArchiveThatCannotBeBrowsedAndFail)
{
    archive.entries = {"a"};
    archive.browseResult = E_FAIL;

    EXPECT_EQ(Check(), E_FAIL);
    EXPECT_EQ(Extract(), E_FAIL);

    EXPECT_THAT(archive.calls,
                ElementsAre("open /temp/item.zip 3", "browse", "close", "open /temp/item.zip 3", "browse", "close"));
}

TEST_F(ExtractionSteps, EndAsFailedWithNothingWhenTheCheckCannotCloseTheArchive)
{
    WriteFile(Parts() / "a", "old");
    archive.entries = {"a"};
    archive.failingClose = 1;

    for (const int answer : {ZALDlgAnswerYes, ZALDlgAnswerNo}) {
        Receiver.Received.clear();
        archive.closings = 0;
        Surface().Answer("OverwriteNotify", answer);
        Finish();
        EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed))) << answer;
    }
    EXPECT_EQ(Extractions(), 0);
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty()) << "the folder is not asked for again";
}

TEST_F(ExtractionSteps, EndAsFailedWithTheRootInFrontWhenTheExtractionCannotCloseTheArchive)
{
    archive.entries = {"a.ZALPart", "A.ZALProduct"};
    archive.failingClose = 2;

    Finish();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadFailed, {InParts("A.ZALProduct"), InParts("a.ZALPart")})));
}

} // namespace
} // namespace openhost::testing
