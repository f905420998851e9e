#include "download/ZALVLIFullDownload.h"
#include "openhost/objects/Traces.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Installed.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/ScriptedFiles.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>

/// Reaches the inner state of a download.
class ZALVLIFullDownloadProbe {
public:
    static const ZALCefHttpRequest* HttpRequest(const ZALVLIFullDownload& download)
    {
        return download.HttpRequest.Get();
    }
    /// Takes the reference of `request` over.
    static void SetHttpRequest(ZALVLIFullDownload& download, ZALCefHttpRequest* request)
    {
        download.HttpRequest = ZALInterfaceHandle<ZALCefHttpRequest>::Take(request);
    }
    static void OnFileDownloaded(ZALVLIFullDownload& download, const ZALUnicodeString& path)
    {
        download.OnFileDownloaded(path);
    }
};

namespace openhost::testing {
namespace {

using DownloadProbe = ZALVLIFullDownloadProbe;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Results = std::vector<std::pair<std::string, std::vector<std::string>>>;

/// What the completion function was told.
struct Outcome {
    Notification::Status status;
    Results results;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream)
{
    *stream << "status " << outcome.status << ", results " << ::testing::PrintToString(outcome.results);
}

/// An item, by its address below the service, its key and its folder.
struct Item {
    std::string name;
    std::string key;
    std::optional<std::filesystem::path> folder{};
};

class FullDownload : public DownloadFixture {
protected:
    ~FullDownload() override { Drop(); }

    static std::string Address(const std::string& name) { return "https://velmart.example/" + name; }

    /// Makes the download of `items`, into the user's folder unless an item says otherwise, and starts it.
    void Fetch(const std::vector<Item>& items)
    {
        Drop();
        std::vector<ZALVLIFullDownload::DownloadItem> list;
        for (const Item& item : items)
            list.push_back({ZALUnicodeString(item.folder.value_or(Parts()).c_str()), FromUtf8(Address(item.name)),
                            ZALOmxKeyString(item.key.data(), item.key.size())});
        Download = new ZALVLIFullDownload(std::move(list));
        Download->Start(
            [this](Notification::Status status, const std::vector<ZALVLIFullDownload::DownloadResult>& results) {
                Outcome& outcome = Outcomes.emplace_back(Outcome{status, {}});
                for (const ZALVLIFullDownload::DownloadResult& result : results) {
                    outcome.results.emplace_back(std::string(result.Key.GetData(), result.Key.GetByteLength()),
                                                 std::vector<std::string>());
                    for (const ZALUnicodeString& path : result.Pathes)
                        outcome.results.back().second.push_back(ToUtf8(path));
                }
                if (OnOutcome)
                    OnOutcome();
            });
    }
    void FetchToTheEnd(const std::vector<Item>& items)
    {
        Fetch(items);
        Loop().RunUntilIdle();
    }
    void Drop()
    {
        if (ZALVLIFullDownload* dropped = std::exchange(Download, nullptr))
            dropped->Release();
    }

    /// Lets the service serve `content` under `name` as the file `fileName`, or as one without a name.
    void Serve(const std::string& name, const std::string& content, const std::string& fileName = "x.ZALPart")
    {
        ServeFile(Address(name), fileName, content);
    }
    void ServeArchive(const std::string& name, const ZipBytes& archive)
    {
        DownloadFixture::ServeArchive(Address(name), archive);
    }
    static Outcome Succeeded(const Results& results) { return {Notification::DownloadSucceeded, results}; }
    static Outcome Failed(const Results& results) { return {Notification::DownloadFailed, results}; }

    ZALVLIFullDownload* Download = nullptr;
    std::vector<Outcome> Outcomes;
    std::function<void()> OnOutcome; ///< called after each outcome
};

// ---------------------------------------------------------------------------------------------
// The sequence

TEST_F(FullDownload, SendsOneGetAnItemWithOneHeaderAndNoBody)
{
    FetchToTheEnd({{"a", "A"}, {"b", "B"}});
    EXPECT_THAT(Requested(), ElementsAre(Address("a")));
    Transport().Last().End();
    EXPECT_THAT(Requested(), ElementsAre(Address("a"), Address("b")));
    for (const HttpRequestData& request : Transport().Requests()) {
        EXPECT_EQ("GET", request.method);
        EXPECT_EQ((HttpHeaders{{"Accept", "*/*"}}), request.headers);
        EXPECT_EQ("", request.body);
    }
}

TEST_F(FullDownload, ReportsAllResultsAtOnceInTheOrderOfTheItems)
{
    for (const char* name : {"c", "a", "b"})
        Serve(name, name);
    FetchToTheEnd({{"c", "C"}, {"a", "A"}, {"b", "B"}, {"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"C", {InParts("C.ZALPart")}},
                                                 {"A", {InParts("A.ZALPart")}},
                                                 {"B", {InParts("B.ZALPart")}},
                                                 {"A", {InParts("A.ZALPart")}}})));
    EXPECT_EQ("a", ReadFile(Parts() / "A.ZALPart"));
    EXPECT_EQ("b", ReadFile(Parts() / "B.ZALPart"));
    EXPECT_EQ("c", ReadFile(Parts() / "C.ZALPart"));
}

TEST_F(FullDownload, SendsTheNextRequestOnceTheOneBeforeHasEnded)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    Transport().Last().Head(200);
    Transport().Last().Bytes("a");
    Loop().RunUntilIdle();
    EXPECT_THAT(Requested(), SizeIs(1));
    Transport().Last().End();
    EXPECT_THAT(Requested(), SizeIs(2));
    EXPECT_THAT(Outcomes, IsEmpty());
}

TEST_F(FullDownload, PutsEachItemIntoItsOwnFolder)
{
    std::filesystem::create_directory(Folder() / "other");
    Serve("a", "a");
    FetchToTheEnd({{"a", "A"}, {"a", "B", Folder() / "other"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"A", {InParts("A.ZALPart")}}, {"B", {(Folder() / "other/B.ZALPart").string()}}})));
    EXPECT_THAT(FilesBelow(Folder()), ElementsAre("other/B.ZALPart", "parts/A.ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Failures

TEST_F(FullDownload, WithoutAFirstRequestFailsInsideTheStart)
{
    Fetch({});
    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
    Transport().RefuseNext();
    Fetch({{"a", "A"}, {"b", "B"}});
    EXPECT_THAT(Outcomes, ElementsAre(Failed({}), Failed({})));
    EXPECT_THAT(Requested(), ElementsAre(Address("a")));
    EXPECT_NE(nullptr, DownloadProbe::HttpRequest(*Download)) << "the request is kept";
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(FullDownload, WhoseLaterRequestCannotBeSentHasNoEnd)
{
    Serve("a", "a");
    Fetch({{"a", "A"}, {"b", "B"}, {"c", "C"}});
    Transport().RefuseNext();
    Loop().RunUntilIdle();
    EXPECT_THAT(Requested(), SizeIs(2));
    EXPECT_THAT(Outcomes, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart")) << "what came before stays";
    ASSERT_NE(nullptr, Surface().Find(ProgressWindow)) << "the dialog stays up";
    EXPECT_EQ(33, Bar()->GetPos());
}

TEST_F(FullDownload, WhoseSecondTransferFailsReportsTheFirstAndTriesNoMore)
{
    Serve("a", "a");
    for (const auto& [end, status] : {std::pair(TransferEnd::Failed, Notification::DownloadFailed),
                                      std::pair(TransferEnd::Cancelled, Notification::DownloadCanceled)}) {
        ServeEnd(Address("b"), end);
        FetchToTheEnd({{"a", "A"}, {"b", "B"}, {"c", "C"}});
        EXPECT_EQ((Outcome{status, {{"A", {InParts("A.ZALPart")}}}}), Outcomes.back());
        EXPECT_EQ(Address("b"), Requested().back());
        EXPECT_EQ(nullptr, Surface().Find(ProgressWindow));
    }
    EXPECT_THAT(Outcomes, SizeIs(2));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
}

TEST_F(FullDownload, ThatFailsHalfwayLeavesTheHalfInTheTemporaryFolderAlone)
{
    WriteBytes(Parts() / "A.ZALPart", "old");
    Transport().Answer(Address("a"),
                       {.headers = FileNamed("x.ZALPart"), .chunks = {"half"}, .end = TransferEnd::Failed});
    FetchToTheEnd({{"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
    EXPECT_EQ("old", ReadFile(Parts() / "A.ZALPart"));
    EXPECT_EQ("half", ReadFile(Temp() / "x.ZALPart"));
}

TEST_F(FullDownload, LooksAtNoCodeOfAReply)
{
    Transport().Answer(
        Address("a"),
        {.code = 500, .headers = {{"content-type", "application/json"}}, .chunks = {R"({"error": "gone"})"}});
    FetchToTheEnd({{"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.json")}}})));
    EXPECT_EQ(R"({"error": "gone"})", ReadFile(Parts() / "A.json"));
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Raw files

TEST_F(FullDownload, NamesARawFileByItsKeyAndTheExtensionOfTheFile)
{
    struct Raw {
        const char* fileName;
        const char* key;
        const char* result;
    };
    std::filesystem::create_directory(Parts() / "sub");
    for (const Raw& raw :
         {Raw{"x.ZALPart", "Part1", "Part1.ZALPart"}, Raw{"noextension", "Part1", "Part1"},
          Raw{"x.ZALPart", "Part1.ZALPart", "Part1.ZALPart.ZALPart"}, Raw{"noextension", "b.zip", "b.zip"},
          Raw{"x.ZALPart", "sub/A", "sub/A.ZALPart"}, Raw{"x.ZALPart", "/sub/A", "sub/A.ZALPart"}}) {
        SCOPED_TRACE(raw.key);
        WriteBytes(Parts() / raw.result, "old and longer");
        Serve("a", "new", raw.fileName);
        FetchToTheEnd({{"a", raw.key}});
        EXPECT_EQ(Succeeded({{raw.key, {InParts(raw.result)}}}), Outcomes.back());
        EXPECT_EQ(std::vector<std::string>{raw.result}, FilesBelow(Parts()));
        EXPECT_EQ("new", ReadFile(Parts() / raw.result));
        EXPECT_TRUE(Traced("Downloaded raw file : " + InParts(raw.result)));
        std::filesystem::remove(Parts() / raw.result);
    }
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty()) << "they were moved";
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(FullDownload, LeavesAFileWhoseTargetIsItselfInAnyLetterCaseWhereItIs)
{
    Serve("a", "a", "Part1.ZALPart");
    for (const std::string key : {"Part1", "PART1"}) {
        FetchToTheEnd({{"a", key, Temp()}});
        const std::string path = (Temp() / (key + ".ZALPart")).string();
        EXPECT_EQ(Succeeded({{key, {path}}}), Outcomes.back());
        EXPECT_THAT(FilesBelow(Temp()), ElementsAre("Part1.ZALPart"));
        EXPECT_EQ("a", ReadFile(Temp() / "Part1.ZALPart"));
        EXPECT_TRUE(Traced("Downloaded raw file : " + path));
    }
}

TEST_F(FullDownload, ListsAFileThatCouldNotBeMoved)
{
    Serve("a", "a");
    Serve("b", "b", "y.ZALPart");
    FetchToTheEnd({{"a", "A", Folder() / "missing"}, {"b", "B"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"A", {(Folder() / "missing/A.ZALPart").string()}}, {"B", {InParts("B.ZALPart")}}})));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "missing"));
    EXPECT_EQ("a", ReadFile(Temp() / "x.ZALPart")) << "it stays where it was";
}

TEST_F(FullDownload, LeavesAFolderThatStandsInTheWay)
{
    WriteBytes(Parts() / "A.ZALPart" / "inside", "kept");
    Serve("a", "a");
    FetchToTheEnd({{"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.ZALPart")}}})));
    EXPECT_EQ("kept", ReadFile(Parts() / "A.ZALPart" / "inside"));
    EXPECT_EQ("a", ReadFile(Temp() / "x.ZALPart"));
}

TEST_F(FullDownload, KeyThatLeavesTheFolderWritesAndDeletesNothing)
{
    WriteBytes(Folder() / "up.ZALPart", "kept");
    Serve("a", "a");
    FetchToTheEnd({{"a", "../up"}, {"a", "..\\new"}});
    EXPECT_THAT(Outcomes, ElementsAre(Field(&Outcome::status, Notification::DownloadSucceeded)));
    EXPECT_EQ("kept", ReadFile(Folder() / "up.ZALPart"));
    EXPECT_THAT(FilesBelow(Folder()), ElementsAre("temp/x.ZALPart", "up.ZALPart"));
}

TEST_F(FullDownload, KeyWithAZeroCharacterTouchesNothing)
{
    WriteBytes(Parts() / "A", "kept");
    Serve("a", "a");
    FetchToTheEnd({{"a", std::string("A\0B", 3)}});
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A"));
    EXPECT_EQ("kept", ReadFile(Parts() / "A"));
}

TEST_F(FullDownload, EmptyBodyListsATargetThatIsNotThere)
{
    WriteBytes(Parts() / "A", "old");
    Serve("a", "", "");
    FetchToTheEnd({{"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A")}}})));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty()) << "what stood there was deleted first";
}

TEST_F(FullDownload, RawFileOfAnotherTypeEndsSilentlyWithoutPaths)
{
    Transport().Answer(Address("a"), {.headers = {{"content-type", "model/part"},
                                                  {"content-disposition", "attachment; filename=x.ZALPart"}},
                                      .chunks = {"a part"}});
    FetchToTheEnd({{"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {}}})));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ("a part", ReadFile(TemporaryFile()));
}

// ---------------------------------------------------------------------------------------------
// Archives

TEST_F(FullDownload, UnpacksAnArchiveWithoutAQuestionAndKeepsIt)
{
    WriteBytes(Parts() / "a.ZALPart", "old");
    const ZipBytes archive = ZipBytes().Add("a.ZALPart", "new").Add("sub/b.ZALPart", "b").Add("read.txt", "side");
    ServeArchive("z", archive);
    FetchToTheEnd({{"z", "Key"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Key", {InParts("a.ZALPart"), InParts("sub\\b.ZALPart")}}})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a.ZALPart", "sub/b.ZALPart"));
    EXPECT_EQ("new", ReadFile(Parts() / "a.ZALPart"));
    EXPECT_EQ(archive.Bytes(), ReadFile(TemporaryFile()));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_FALSE(Traced("Downloaded raw file : " + InParts("a.ZALPart")));
}

TEST_F(FullDownload, KnowsAnArchiveByItsExtensionInAnyLetterCaseAlone)
{
    const std::string archive = ZipBytes().Add("a.ZALPart", "a").Bytes();
    Serve("y", archive, "item.ZIP");
    Serve("z", archive, "");
    FetchToTheEnd({{"y", "Y"}, {"z", "Z"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Y", {InParts("a.ZALPart")}}, {"Z", {InParts("Z")}}})));
    EXPECT_EQ(archive, ReadFile(Parts() / "Z"));
}

TEST_F(FullDownload, GoesOnAfterAnArchiveThatCannotBeRead)
{
    Transport().Answer(Address("z"), {.chunks = {"<html>busy</html>"}});
    Serve("a", "a");
    FetchToTheEnd({{"z", "Z"}, {"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Z", {}}, {"A", {InParts("A.ZALPart")}}})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
}

TEST_F(FullDownload, PutsTheRootOfAnAssemblyFirst)
{
    Documents().SetDocument("B.ZALProduct", {{"/p/C.ZALProduct"}});
    Documents().SetDocument("C.ZALProduct", {{"/p/d.ZALPart"}});
    ServeArchive("z", ZipBytes().Add("d.ZALPart").Add("C.ZALProduct").Add("B.ZALProduct"));
    FetchToTheEnd({{"z", "Z"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"Z", {InParts("B.ZALProduct"), InParts("C.ZALProduct"), InParts("d.ZALPart")}}})));
}

TEST_F(FullDownload, TwoArchivesOfOneNameAreUnpackedOneAfterTheOther)
{
    ServeArchive("y", ZipBytes().Add("y.ZALPart", "y"));
    ServeArchive("z", ZipBytes().Add("z.ZALPart", "z"));
    FetchToTheEnd({{"y", "Y"}, {"z", "Z"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Y", {InParts("y.ZALPart")}}, {"Z", {InParts("z.ZALPart")}}})));
    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("VelmartDownloadedQ7Files.zip"));
}

// ---------------------------------------------------------------------------------------------
// The dialog

TEST_F(FullDownload, ShowsOneDialogThatTakesNoInput)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    EXPECT_THAT(Surface().WindowEvents(), ElementsAre(AllOf(Field(&ScriptedSurface::WindowEvent::name, ProgressWindow),
                                                            Field(&ScriptedSurface::WindowEvent::action,
                                                                  ScriptedSurface::WindowEvent::Action::Shown))));
    EXPECT_EQ(PushResult::Insensitive, Surface().Push(ProgressWindow, "CLOSE"));
    EXPECT_TRUE(Transport().Last().IsRunning());
    EXPECT_THAT(SubscribersOf(Surface().Find(ProgressWindow), ZALVelmartDownloadProgressDlg::CANCELNotif::ClassName()),
                IsEmpty());
    Transport().Last().End();
    EXPECT_THAT(Surface().WindowEvents(), SizeIs(1)) << "the second item uses the same one";
}

TEST_F(FullDownload, MovesTheBarWithEachItemAndNotWithBytes)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    Transport().Last().Progress(90, 100);
    EXPECT_EQ(0, Bar()->GetPos());

    const int updates = DisplayUpdateCount();
    Transport().Last().End();
    EXPECT_EQ(50, Bar()->GetPos());
    EXPECT_EQ(updates + 1, DisplayUpdateCount());
    EXPECT_THAT(Outcomes, IsEmpty());

    ZALDlgProgress* bar = Bar();
    OnOutcome = [&] { EXPECT_EQ(100, bar->GetPos()) << "before the dialog goes"; };
    Transport().Last().End();
    EXPECT_THAT(Outcomes, SizeIs(1));
}

TEST_F(FullDownload, ComputesTheShareInSinglePrecision)
{
    Fetch(std::vector<Item>(100, {"a", "A"}));
    for (int done = 1; done <= 53; ++done) {
        Transport().Last().End();
        if (done == 29) {
            EXPECT_EQ(29, Bar()->GetPos()) << "28 in double precision";
        }
    }
    EXPECT_EQ(52, Bar()->GetPos()) << "53 in double precision and in whole numbers";
}

TEST_F(FullDownload, ReleasesTheRequestAndEndsTheDialogBeforeItsFunctionIsCalled)
{
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed, TransferEnd::Cancelled}) {
        bool isReleased = false;
        bool isGone = false;
        OnOutcome = [&] {
            isReleased = !DownloadProbe::HttpRequest(*Download);
            Loop().RunUntilIdle();
            isGone = !Surface().Find(ProgressWindow);
        };
        Fetch({{"a", "A"}});
        Transport().Last().End(end);
        EXPECT_TRUE(isReleased) << static_cast<int>(end);
        EXPECT_TRUE(isGone) << static_cast<int>(end);
    }
}

TEST_F(FullDownload, EndsTheDialogOfARunThatIsStartedAnewInVain)
{
    Fetch({{"a", "A"}});
    Transport().RefuseNext();
    bool failed = false;
    Download->Start([&](Notification::Status status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {
        failed = status == Notification::DownloadFailed;
    });
    EXPECT_TRUE(failed);
    Drop();
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(ProgressWindow));
}

TEST_F(FullDownload, GivesADownloadThatItsFunctionStartsADialogOfItsOwn)
{
    Fetch({{"a", "A"}});
    OnOutcome = [this] { Fetch({{"b", "B"}}); };
    Transport().Last().End();
    Loop().RunUntilIdle();
    using Action = ScriptedSurface::WindowEvent::Action;
    const auto times = [this](Action action) {
        return std::ranges::count(Surface().WindowEvents(), action, &ScriptedSurface::WindowEvent::action);
    };
    EXPECT_EQ(2, times(Action::Shown));
    EXPECT_EQ(1, times(Action::Ended));
}

TEST_F(FullDownload, GoesOnWithoutTheDialogThatEndedWithItsParent)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    ResetFrame();
    ASSERT_EQ(nullptr, Surface().Find(ProgressWindow));
    Transport().Last().End();
    Transport().Last().End();
    Loop().RunUntilIdle();
    EXPECT_THAT(Outcomes, SizeIs(1));
}

TEST_F(FullDownload, LeavesNoReferenceOnItsDialog)
{
    for (const bool ended : {true, false}) {
        Fetch({{"a", "A"}});
        const ZALBaseUnknown_WR window(Surface().Find(ProgressWindow));
        if (ended)
            Transport().Last().End();
        else
            Drop(); // the dialog stays up
        Loop().RunUntilIdle();
        EXPECT_EQ(ended, Surface().Find(ProgressWindow) == nullptr);
        ResetFrame();
        ConfigureFrame({});
        EXPECT_EQ(nullptr, window.GetComponent()) << ended;
    }
}

TEST_F(FullDownload, RunsWithoutFrameAndWithoutDialog)
{
    ConfigureFrame({.exists = false});
    Serve("a", "a");
    FetchToTheEnd({{"a", "A"}, {"a", "B"}});
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(Outcomes, ElementsAre(Field(&Outcome::results, SizeIs(2))));
}

// ---------------------------------------------------------------------------------------------
// The pause of the recorder

TEST_F(FullDownload, PausesWhileTheRecorderCapturesOrReplaysAndASendIsTaken)
{
    CallLog log;
    const Installed<ScriptedSystem> system(log);
    const std::pair<CommandOptions, Texts> rows[] = {{{.recorder = true, .capture = true}, {"sleep 2000"}},
                                                     {{.recorder = true, .replay = true}, {"sleep 2000"}},
                                                     {{.recorder = true}, {}}};
    for (const auto& [options, pauses] : rows) {
        ConfigureCommands(options);
        Fetch({{"a", "A"}});
        EXPECT_EQ(pauses, log.Take()) << options.capture << options.replay;
    }
    ConfigureCommands({.recorder = true, .capture = true});
    Transport().RefuseNext();
    Fetch({{"a", "A"}});
    EXPECT_EQ(Texts{}, log.Take());
    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
}

// ---------------------------------------------------------------------------------------------
// Life

TEST_F(FullDownload, BeginsWithOneReferenceAndKeepsNoneOnItself)
{
    Serve("a", "a");
    Fetch({{"a", "A"}});
    EXPECT_EQ(1U, ReferencesOf(Download));
    Loop().RunUntilIdle();
    EXPECT_EQ(1U, ReferencesOf(Download));
}

TEST_F(FullDownload, ThatEndsGivesItsTransferUpAndCallsNobody)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    Transport().Last().Head(200);
    Transport().Last().Bytes("half");
    Drop();
    Loop().RunUntilIdle();
    EXPECT_FALSE(Transport().Last().IsRunning());
    EXPECT_THAT(Outcomes, IsEmpty());
    EXPECT_THAT(Requested(), SizeIs(1));
    EXPECT_EQ("half", ReadFile(TemporaryFile()));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_NE(nullptr, Surface().Find(ProgressWindow)) << "the dialog is the host's";
}

TEST_F(FullDownload, DestroysItsFunctionOnceItWasCalledOrWithItself)
{
    for (const bool isCalled : {true, false}) {
        const auto captured = std::make_shared<int>();
        Owned<ZALVLIFullDownload> download(new ZALVLIFullDownload({{"/folder", "https://velmart.example/a", "A"}}));
        download->Start([captured](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {});
        EXPECT_EQ(2, captured.use_count());
        if (isCalled)
            Transport().Last().End();
        else
            download.reset();
        EXPECT_EQ(1, captured.use_count()) << isCalled;
    }
}

TEST_F(FullDownload, MayBeReleasedInsideItsFunction)
{
    OnOutcome = [this] { Drop(); };
    Serve("a", "a");
    ServeEnd(Address("b"));
    FetchToTheEnd({{"a", "A"}});
    FetchToTheEnd({{"b", "B"}});
    EXPECT_THAT(Outcomes, SizeIs(2));
}

TEST_F(FullDownload, IsHeldWhileItsFunctionRunsInsideTheStart)
{
    auto* download = new ZALVLIFullDownload({});
    const ZALBaseUnknown_WR reference(download);
    bool isHeld = false;
    bool isEmpty = false;
    download->Start([&](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>& results) {
        download->Release();
        isHeld = static_cast<bool>(Owned<ZALBaseUnknown>(reference.GetComponent()));
        isEmpty = results.empty();
    });
    EXPECT_TRUE(isHeld);
    EXPECT_TRUE(isEmpty);
    EXPECT_EQ(nullptr, reference.GetComponent());
}

TEST_F(FullDownload, ReleasesTheRequestBeforeItTakesTheFile)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    EXPECT_NE(nullptr, DownloadProbe::HttpRequest(*Download));
    std::vector<const ZALCefHttpRequest*> found;
    RedirectTraces([&](std::string_view, std::string_view) { found.push_back(DownloadProbe::HttpRequest(*Download)); });
    Transport().Last().End();
    EXPECT_NE(nullptr, DownloadProbe::HttpRequest(*Download)) << "of the next item";
    Transport().Last().End();
    EXPECT_THAT(found, ElementsAre(nullptr, nullptr));
}

TEST_F(FullDownload, FailsAtTheEndOfATransferWithoutARequest)
{
    Fetch({{"a", "A"}});
    DownloadProbe::SetHttpRequest(*Download, nullptr);
    Loop().RunUntilIdle();
    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));

    DownloadProbe::OnFileDownloaded(*Download, "/any");
    EXPECT_THAT(Outcomes, SizeIs(1)) << "the end is told once";
}

TEST_F(FullDownload, TakesThePathBeforeTheRequestEnds)
{
    class Request : public ZALCefHttpRequest {
    public:
        explicit Request(ZALUnicodeString& path) : ZALCefHttpRequest("GET", "https://velmart.example/a"), path_(path) {}
        ~Request() override { path_ = "/gone"; }

    private:
        ZALUnicodeString& path_;
    };
    WriteBytes(Temp() / "x.ZALPart", "part");
    Fetch({{"a", "A"}});
    ZALUnicodeString path((Temp() / "x.ZALPart").c_str());
    DownloadProbe::SetHttpRequest(*Download, new Request(path));
    DownloadProbe::OnFileDownloaded(*Download, path);
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.ZALPart")}}})));
    EXPECT_EQ("part", ReadFile(Parts() / "A.ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Without memory

/// A download whose function needs no memory.
class FullDownloadWithoutMemory : public FullDownload {
protected:
    FullDownloadWithoutMemory() { SwitchTraces(false); } // the lack of a trace fails nothing

    void Prepare(const std::vector<std::string>& keys)
    {
        std::vector<ZALVLIFullDownload::DownloadItem> items;
        for (const std::string& key : keys)
            items.push_back({PartsFolder(), FromUtf8(Address(key)), ZALOmxKeyString(key.c_str())});
        calls = 0;
        results = 0;
        download.reset(new ZALVLIFullDownload(std::move(items)));
    }
    void Begin()
    {
        download->Start([this](Notification::Status end, const std::vector<ZALVLIFullDownload::DownloadResult>& done) {
            ++calls;
            status = end;
            results = done.size();
        });
    }

    Owned<ZALVLIFullDownload> download;
    int calls = 0;
    Notification::Status status{};
    std::size_t results = 0;
};

/// A call that may lack memory, and the items that it may have reported by then.
struct Stage {
    const char* name;
    std::vector<std::string> items;
    bool isBegun; ///< the call is the end of a transfer, and the start otherwise
    std::size_t done;
};

TEST_F(FullDownloadWithoutMemory, FailsOnceInsideTheCall)
{
    for (const Stage& stage : {Stage{"start", {"the first of the items", "the second of the items"}, false, 0},
                               Stage{"first file", {"the first of the items", "the second of the items"}, true, 1},
                               Stage{"last file", {"the only one of the items"}, true, 1}})
        // Without a frame there is no dialog, whose lack alone fails no download.
        for (const bool framed : {true, false}) {
            SCOPED_TRACE(stage.name);
            ConfigureFrame({.exists = framed});
            int failed = 0;
            int failedWithAll = 0;
            WithEachAllocationFailing([&](FailingMemory& memory) {
                Prepare(stage.items);
                if (stage.isBegun)
                    Begin();
                const std::size_t started = Transport().Count();
                memory.During([&] {
                    if (stage.isBegun)
                        Transport().Last().End();
                    else
                        Begin();
                });
                const int toldInside = calls;
                Loop().RunUntilIdle();
                const bool runs = Transport().Count() > started && Transport().Last().IsRunning();
                EXPECT_EQ(runs ? 0 : 1, toldInside);
                EXPECT_EQ(toldInside, calls) << "the end is told once";
                EXPECT_TRUE(runs || !Surface().Find(ProgressWindow));
                const bool hasFailed = !runs && status == Notification::DownloadFailed;
                EXPECT_TRUE(framed || hasFailed || !memory.HasRunOut());
                if (hasFailed) {
                    EXPECT_TRUE(memory.HasRunOut());
                    EXPECT_LE(results, stage.done);
                    ++failed;
                    failedWithAll += results == stage.done ? 1 : 0;
                    return;
                }
                // What runs on ends whole.
                while (Transport().Last().IsRunning())
                    Transport().Last().End();
                Loop().RunUntilIdle();
                EXPECT_EQ(1, calls);
                EXPECT_EQ(Notification::DownloadSucceeded, status);
                EXPECT_EQ(stage.items.size(), results);
            });
            EXPECT_GT(failed, 5);
            EXPECT_TRUE(failedWithAll > 0 || stage.items.size() == 1);
        }
}

TEST_F(FullDownloadWithoutMemory, FailsOnceWhenATransferWasCancelled)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Prepare({"the only one of the items"});
        Begin();
        memory.During([&] { Transport().Last().End(TransferEnd::Cancelled); });
        Loop().RunUntilIdle();
        EXPECT_EQ(1, calls);
        EXPECT_EQ(memory.HasRunOut() ? Notification::DownloadFailed : Notification::DownloadCanceled, status);
        EXPECT_EQ(nullptr, Surface().Find(ProgressWindow));
    });
}

TEST_F(FullDownloadWithoutMemory, FunctionWithoutMemoryIsNotCalledAgain)
{
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed}) {
        Prepare({"A"});
        download->Start([this](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {
            ++calls;
            throw std::bad_alloc();
        });
        EXPECT_NO_THROW(Transport().Last().End(end));
        EXPECT_EQ(1, calls);
    }
}

} // namespace
} // namespace openhost::testing
