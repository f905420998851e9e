#include "download/ZALVLIFullDownload.h"
#include "openhost/objects/Traces.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"

#include <gmock/gmock.h>

#include <chrono>
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
    static HRESULT RequestNextFile(ZALVLIFullDownload& download, const ZALUnicodeString& url)
    {
        return download.RequestNextFile(url);
    }
};

namespace openhost::testing {
namespace {

using DownloadProbe = ZALVLIFullDownloadProbe;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;
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

constexpr auto Pause = std::chrono::milliseconds(2000);

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
    void Serve(const std::string& name, const std::string& content, const std::string& fileName)
    {
        HttpHeaders headers{{"content-type", "application/octet-stream"}};
        if (!fileName.empty())
            headers.push_back({"content-disposition", "attachment; filename=\"" + fileName + "\""});
        Transport().Answer(Address(name), {.headers = headers, .chunks = {content}});
    }
    void ServeArchive(const std::string& name, const ZipBytes& archive)
    {
        Transport().Answer(Address(name),
                           {.headers = {{"content-type", "application/zip"}}, .chunks = {archive.Bytes()}});
    }
    void ServeFailure(const std::string& name, TransferEnd end = TransferEnd::Failed)
    {
        Transport().Answer(Address(name), {.code = std::nullopt, .end = end});
    }
    std::vector<std::string> Requested()
    {
        std::vector<std::string> names;
        for (const HttpRequestData& request : Transport().Requests())
            names.push_back(request.url.substr(Address("").size()));
        return names;
    }
    ZALDlgProgress* Bar() { return dynamic_cast<ZALDlgProgress*>(Surface().Find(ProgressWindow, "VLProgressBar")); }
    static Outcome Succeeded(const Results& results) { return {Notification::DownloadSucceeded, results}; }
    static Outcome Failed(const Results& results) { return {Notification::DownloadFailed, results}; }

    ZALVLIFullDownload* Download = nullptr;
    std::vector<Outcome> Outcomes;
    std::function<void()> OnOutcome; ///< called behind each outcome
};

// ---------------------------------------------------------------------------------------------
// The sequence

TEST_F(FullDownload, SendsOneGetAnItemWithOneHeaderAndNoBody)
{
    Serve("a", "a", "a.ZALPart");
    Serve("b", "b", "b.ZALPart");
    FetchToTheEnd({{"a", "A"}, {"b", "B"}});

    ASSERT_EQ(Requested(), (std::vector<std::string>{"a", "b"}));
    for (const HttpRequestData& request : Transport().Requests()) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.headers, (HttpHeaders{{"Accept", "*/*"}}));
        EXPECT_EQ(request.body, "");
    }
}

TEST_F(FullDownload, ReportsAllResultsAtOnceInTheOrderOfTheItems)
{
    for (const char* name : {"c", "a", "b"})
        Serve(name, name, "x.ZALPart");
    FetchToTheEnd({{"c", "C"}, {"a", "A"}, {"b", "B"}});

    EXPECT_THAT(Outcomes,
                ElementsAre(Succeeded(
                    {{"C", {InParts("C.ZALPart")}}, {"A", {InParts("A.ZALPart")}}, {"B", {InParts("B.ZALPart")}}})));
    EXPECT_EQ(ReadFile(Parts() / "A.ZALPart"), "a");
    EXPECT_EQ(ReadFile(Parts() / "B.ZALPart"), "b");
    EXPECT_EQ(ReadFile(Parts() / "C.ZALPart"), "c");
}

TEST_F(FullDownload, SendsTheNextRequestOnceTheOneBeforeHasEnded)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    Transport().Last().Head(200);
    Transport().Last().Bytes("a");
    Loop().RunUntilIdle();
    EXPECT_THAT(Requested(), ElementsAre("a"));

    Transport().Last().End();
    EXPECT_THAT(Requested(), ElementsAre("a", "b"));
    EXPECT_THAT(Outcomes, IsEmpty());
}

TEST_F(FullDownload, PutsEachItemIntoItsOwnFolder)
{
    std::filesystem::create_directory(Folder() / "other");
    Serve("a", "a", "x.ZALPart");
    Serve("b", "b", "x.ZALPart");
    FetchToTheEnd({{"a", "A"}, {"b", "B", Folder() / "other"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"A", {InParts("A.ZALPart")}}, {"B", {(Folder() / "other/B.ZALPart").string()}}})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
    EXPECT_THAT(FilesBelow(Folder() / "other"), ElementsAre("B.ZALPart"));
}

TEST_F(FullDownload, TakesAnItemTwice)
{
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", "A"}, {"a", "A"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.ZALPart")}}, {"A", {InParts("A.ZALPart")}}})));
    EXPECT_EQ(ReadFile(Parts() / "A.ZALPart"), "a");
}

// ---------------------------------------------------------------------------------------------
// Failures

TEST_F(FullDownload, TellsWhetherARequestWasSent)
{
    FetchToTheEnd({});
    EXPECT_EQ(DownloadProbe::RequestNextFile(*Download, FromUtf8(Address("a"))), S_OK);
    Transport().RefuseNext();
    EXPECT_EQ(DownloadProbe::RequestNextFile(*Download, FromUtf8(Address("b"))), E_FAIL);
}

TEST_F(FullDownload, WithoutItemsFailsInsideTheStart)
{
    Fetch({});

    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

TEST_F(FullDownload, WhoseFirstRequestCannotBeSentFailsInsideTheStart)
{
    Transport().RefuseNext();
    Fetch({{"a", "A"}, {"b", "B"}});

    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
    EXPECT_THAT(Requested(), ElementsAre("a"));
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(FullDownload, WhoseLaterRequestCannotBeSentHasNoEnd)
{
    Serve("a", "a", "x.ZALPart");
    Fetch({{"a", "A"}, {"b", "B"}, {"c", "C"}});
    Transport().RefuseNext();
    Loop().RunUntilIdle();

    EXPECT_THAT(Requested(), ElementsAre("a", "b"));
    EXPECT_THAT(Outcomes, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart")) << "what came before stays";
    ASSERT_NE(Surface().Find(ProgressWindow), nullptr) << "the dialog stays up";
    EXPECT_EQ(Bar()->GetPos(), 33);
}

TEST_F(FullDownload, WhoseSecondOfThreeTransfersFailsReportsOneResultAndTriesNoMore)
{
    Serve("a", "a", "x.ZALPart");
    ServeFailure("b");
    FetchToTheEnd({{"a", "A"}, {"b", "B"}, {"c", "C"}});

    EXPECT_THAT(Outcomes, ElementsAre(Failed({{"A", {InParts("A.ZALPart")}}})));
    EXPECT_THAT(Requested(), ElementsAre("a", "b"));
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
}

TEST_F(FullDownload, ThatFailsHalfwayThroughAFileLeavesTheHalfInTheTemporaryFolderAlone)
{
    WriteFile(Parts() / "A.ZALPart", "old");
    Transport().Answer(Address("a"), {.headers = {{"content-type", "application/octet-stream"},
                                                  {"content-disposition", "attachment; filename=x.ZALPart"}},
                                      .chunks = {"half"},
                                      .end = TransferEnd::Failed});
    FetchToTheEnd({{"a", "A"}});

    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
    EXPECT_EQ(ReadFile(Parts() / "A.ZALPart"), "old");
    EXPECT_EQ(ReadFile(Temp() / "x.ZALPart"), "half");
}

TEST_F(FullDownload, ThatTheHostCancelsReportsTheResultsSoFar)
{
    Serve("a", "a", "x.ZALPart");
    ServeFailure("b", TransferEnd::Cancelled);
    FetchToTheEnd({{"a", "A"}, {"b", "B"}, {"c", "C"}});

    EXPECT_THAT(Outcomes, ElementsAre(Outcome{Notification::DownloadCanceled, {{"A", {InParts("A.ZALPart")}}}}));
    EXPECT_THAT(Requested(), ElementsAre("a", "b"));
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
}

TEST_F(FullDownload, LooksAtNoCodeOfAReply)
{
    Transport().Answer(
        Address("a"),
        {.code = 500, .headers = {{"content-type", "application/json"}}, .chunks = {R"({"error": "gone"})"}});
    FetchToTheEnd({{"a", "A"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.json")}}})));
    EXPECT_EQ(ReadFile(Parts() / "A.json"), R"({"error": "gone"})");
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Raw files

TEST_F(FullDownload, NamesARawFileByItsKeyAndReplacesWhatStoodThere)
{
    WriteFile(Parts() / "Part1.ZALPart", "old and longer");
    Serve("a", "new", "x.ZALPart");
    FetchToTheEnd({{"a", "Part1"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Part1", {InParts("Part1.ZALPart")}}})));
    EXPECT_EQ(ReadFile(Parts() / "Part1.ZALPart"), "new");
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty()) << "it was moved";
    EXPECT_TRUE(Traced("Downloaded raw file : " + InParts("Part1.ZALPart")));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(FullDownload, GivesAFileWithoutExtensionTheKeyAlone)
{
    Serve("a", "a", "noextension");
    FetchToTheEnd({{"a", "Part1"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Part1", {InParts("Part1")}}})));
    EXPECT_EQ(ReadFile(Parts() / "Part1"), "a");
}

TEST_F(FullDownload, DoesNotLookAtTheExtensionOfTheKey)
{
    Serve("a", "a", "x.ZALPart");
    Serve("b", "b", "noextension");
    FetchToTheEnd({{"a", "Part1.ZALPart"}, {"b", "b.zip"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"Part1.ZALPart", {InParts("Part1.ZALPart.ZALPart")}}, {"b.zip", {InParts("b.zip")}}})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("Part1.ZALPart.ZALPart", "b.zip"));
}

TEST_F(FullDownload, LeavesAFileWhoseTargetIsItselfWhereItIs)
{
    Serve("a", "a", "Part1.ZALPart");
    FetchToTheEnd({{"a", "Part1", Temp()}});

    const std::string path = (Temp() / "Part1.ZALPart").string();
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Part1", {path}}})));
    EXPECT_EQ(ReadFile(path), "a");
    EXPECT_TRUE(Traced("Downloaded raw file : " + path));
}

TEST_F(FullDownload, TakesATargetThatDiffersInLetterCaseForTheFileItself)
{
    Serve("a", "a", "part1.ZALPart");
    FetchToTheEnd({{"a", "PART1", Temp()}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"PART1", {(Temp() / "PART1.ZALPart").string()}}})));
    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("part1.ZALPart")) << "nothing moves";
}

TEST_F(FullDownload, ListsAFileThatCouldNotBeMoved)
{
    Serve("a", "a", "x.ZALPart");
    Serve("b", "b", "y.ZALPart");
    FetchToTheEnd({{"a", "A", Folder() / "missing"}, {"b", "B"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"A", {(Folder() / "missing/A.ZALPart").string()}}, {"B", {InParts("B.ZALPart")}}})));
    EXPECT_FALSE(std::filesystem::exists(Folder() / "missing"));
    EXPECT_EQ(ReadFile(Temp() / "x.ZALPart"), "a") << "it stays where it was";
}

TEST_F(FullDownload, LeavesAFolderThatStandsInTheWay)
{
    WriteFile(Parts() / "A.ZALPart" / "inside", "kept");
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", "A"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.ZALPart")}}})));
    EXPECT_EQ(ReadFile(Parts() / "A.ZALPart" / "inside"), "kept");
    EXPECT_EQ(ReadFile(Temp() / "x.ZALPart"), "a");
}

TEST_F(FullDownload, KeyThatLeavesTheFolderWritesAndDeletesNothing)
{
    WriteFile(Folder() / "up.ZALPart", "kept");
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", "../up"}, {"a", "..\\new"}});

    EXPECT_THAT(Outcomes, ElementsAre(Field(&Outcome::status, Notification::DownloadSucceeded)));
    EXPECT_EQ(ReadFile(Folder() / "up.ZALPart"), "kept");
    EXPECT_FALSE(std::filesystem::exists(Folder() / "new.ZALPart"));
    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("x.ZALPart"));
}

TEST_F(FullDownload, KeyWithAFolderStandsBelowTheFolder)
{
    std::filesystem::create_directory(Parts() / "sub");
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", "sub/A"}, {"a", "/sub/B"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded(
                              {{"sub/A", {InParts("sub/A.ZALPart")}}, {"/sub/B", {InParts("sub/B.ZALPart")}}})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("sub/A.ZALPart", "sub/B.ZALPart"));
}

TEST_F(FullDownload, KeyWithAZeroCharacterTouchesNothing)
{
    WriteFile(Parts() / "A", "kept");
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", std::string("A\0B", 3)}});
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A"));
    EXPECT_EQ(ReadFile(Parts() / "A"), "kept");
}

TEST_F(FullDownload, EmptyBodyListsATargetThatIsNotThere)
{
    WriteFile(Parts() / "A", "old");
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
    EXPECT_EQ(ReadFile(TemporaryFile()), "a part");
}

// ---------------------------------------------------------------------------------------------
// Archives

TEST_F(FullDownload, UnpacksAnArchiveWithoutAQuestionAndKeepsIt)
{
    WriteFile(Parts() / "a.ZALPart", "old");
    const ZipBytes archive = ZipBytes().Add("a.ZALPart", "new").Add("sub/b.ZALPart", "b").Add("read.txt", "side");
    ServeArchive("z", archive);
    FetchToTheEnd({{"z", "Key"}});

    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Key", {InParts("a.ZALPart"), InParts("sub\\b.ZALPart")}}})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("a.ZALPart", "sub/b.ZALPart"));
    EXPECT_EQ(ReadFile(Parts() / "a.ZALPart"), "new");
    EXPECT_EQ(ReadFile(TemporaryFile()), archive.Bytes());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_FALSE(Traced("Downloaded raw file : " + InParts("a.ZALPart")));
}

TEST_F(FullDownload, KnowsAnArchiveByItsExtensionInAnyLetterCase)
{
    Serve("z", ZipBytes().Add("a.ZALPart", "a").Bytes(), "item.ZIP");
    FetchToTheEnd({{"z", "Key"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Key", {InParts("a.ZALPart")}}})));
}

TEST_F(FullDownload, MovesAnArchiveWithoutAFileNameAsARawFile)
{
    const std::string archive = ZipBytes().Add("a.ZALPart", "a").Bytes();
    Serve("z", archive, "");
    FetchToTheEnd({{"z", "Key"}});
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"Key", {InParts("Key")}}})));
    EXPECT_EQ(ReadFile(Parts() / "Key"), archive);
}

TEST_F(FullDownload, GoesOnBehindAnArchiveThatCannotBeRead)
{
    Transport().Answer(Address("z"), {.chunks = {"<html>busy</html>"}});
    Serve("a", "a", "x.ZALPart");
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
    EXPECT_EQ(Surface().Push(ProgressWindow, "CLOSE"), PushResult::Insensitive);
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
    EXPECT_EQ(Bar()->GetPos(), 0);

    const int updates = DisplayUpdateCount();
    Transport().Last().End();
    EXPECT_EQ(Bar()->GetPos(), 50);
    EXPECT_EQ(DisplayUpdateCount(), updates + 1);
    EXPECT_THAT(Outcomes, IsEmpty());

    ZALDlgProgress* bar = Bar();
    OnOutcome = [&] { EXPECT_EQ(bar->GetPos(), 100) << "before the dialog goes"; };
    Transport().Last().End();
    EXPECT_THAT(Outcomes, SizeIs(1));
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
}

TEST_F(FullDownload, ComputesTheShareInSinglePrecision)
{
    std::vector<Item> items;
    for (int index = 0; index < 100; ++index)
        items.push_back({"a", "A"});
    Fetch(items);
    for (int done = 1; done <= 53; ++done) {
        Transport().Last().End();
        if (done == 29) {
            EXPECT_EQ(Bar()->GetPos(), 29) << "28 in double precision";
        }
    }
    EXPECT_EQ(Bar()->GetPos(), 52) << "53 in double precision and in whole numbers";
}

TEST_F(FullDownload, EndsTheDialogBeforeTheFunctionIsCalled)
{
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed, TransferEnd::Cancelled}) {
        bool gone = false;
        OnOutcome = [&] {
            Loop().RunUntilIdle();
            gone = !Surface().Find(ProgressWindow);
        };
        Fetch({{"a", "A"}});
        Transport().Last().End(end);
        EXPECT_TRUE(gone) << static_cast<int>(end);
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
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
}

TEST_F(FullDownload, GivesADownloadThatItsFunctionStartsADialogOfItsOwn)
{
    Fetch({{"a", "A"}});
    OnOutcome = [this] { Fetch({{"b", "B"}}); };
    Transport().Last().End();
    Loop().RunUntilIdle();

    using Action = ScriptedSurface::WindowEvent::Action;
    std::vector<Action> actions;
    for (const ScriptedSurface::WindowEvent& event : Surface().WindowEvents())
        actions.push_back(event.action);
    EXPECT_EQ(std::ranges::count(actions, Action::Shown), 2) << "the next download has a dialog of its own";
    EXPECT_EQ(std::ranges::count(actions, Action::Ended), 1);
}

TEST_F(FullDownload, GoesOnWithoutTheDialogThatEndedWithItsParent)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    ResetFrame();
    ASSERT_EQ(Surface().Find(ProgressWindow), nullptr);

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
        EXPECT_EQ(Surface().Find(ProgressWindow) == nullptr, ended);
        ResetFrame();
        ConfigureFrame({});
        EXPECT_EQ(window.GetComponent(), nullptr) << ended;
    }
}

TEST_F(FullDownload, RunsWithoutFrameAndWithoutDialog)
{
    ConfigureFrame({.exists = false});
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", "A"}, {"a", "B"}});

    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(Outcomes, ElementsAre(Field(&Outcome::results, SizeIs(2))));
}

// ---------------------------------------------------------------------------------------------
// The pause of the recorder

TEST_F(FullDownload, PausesWhileTheRecorderCapturesOrReplays)
{
    for (const CommandOptions& options :
         {CommandOptions{.recorder = true, .capture = true}, CommandOptions{.recorder = true, .replay = true}}) {
        ConfigureCommands(options);
        const auto begin = std::chrono::steady_clock::now();
        Fetch({{"a", "A"}});
        EXPECT_GE(std::chrono::steady_clock::now() - begin, Pause);
    }
}

TEST_F(FullDownload, DoesNotPauseForAnIdleRecorderNorForARequestThatCannotBeSent)
{
    const auto begin = std::chrono::steady_clock::now();
    ConfigureCommands({.recorder = true});
    Fetch({{"a", "A"}});
    ConfigureCommands({.recorder = true, .capture = true});
    Transport().RefuseNext();
    Fetch({{"a", "A"}});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, Pause);
    EXPECT_THAT(Outcomes, ElementsAre(Failed({})));
}

// ---------------------------------------------------------------------------------------------
// Life

TEST_F(FullDownload, BeginsWithOneReferenceAndKeepsNoneOnItself)
{
    Serve("a", "a", "x.ZALPart");
    Fetch({{"a", "A"}});
    EXPECT_EQ(ReferencesOf(Download), 1U);
    Loop().RunUntilIdle();
    EXPECT_EQ(ReferencesOf(Download), 1U);
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
    EXPECT_THAT(Requested(), ElementsAre("a"));
    EXPECT_EQ(ReadFile(TemporaryFile()), "half");
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_NE(Surface().Find(ProgressWindow), nullptr) << "the dialog is the host's";
}

TEST_F(FullDownload, DestroysItsFunctionWithItself)
{
    const auto captured = std::make_shared<int>();
    auto* download = new ZALVLIFullDownload({{"/folder", "https://velmart.example/a", "A"}});
    download->Start([captured](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {});
    EXPECT_EQ(captured.use_count(), 2);
    download->Release();
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(FullDownload, MayBeReleasedInsideItsFunction)
{
    OnOutcome = [this] { Drop(); };
    Serve("a", "a", "x.ZALPart");
    FetchToTheEnd({{"a", "A"}});
    EXPECT_THAT(Outcomes, SizeIs(1));

    Outcomes.clear();
    ServeFailure("b");
    FetchToTheEnd({{"b", "B"}});
    EXPECT_THAT(Outcomes, SizeIs(1));
}

TEST_F(FullDownload, MayBeReleasedInsideItsFunctionInsideTheStart)
{
    bool released = false;
    auto* download = new ZALVLIFullDownload({});
    const ZALBaseUnknown_WR reference(download);
    download->Start([&](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>& results) {
        download->Release();
        released = results.empty();
    });
    EXPECT_TRUE(released);
    EXPECT_EQ(reference.GetComponent(), nullptr);
}

TEST_F(FullDownload, IsHeldWhileItsFunctionRunsInsideTheStart)
{
    auto* download = new ZALVLIFullDownload({});
    const ZALBaseUnknown_WR reference(download);
    bool isHeld = false;
    download->Start([&](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {
        download->Release();
        isHeld = static_cast<bool>(Owned<ZALBaseUnknown>(reference.GetComponent()));
    });
    EXPECT_TRUE(isHeld);
    EXPECT_EQ(reference.GetComponent(), nullptr);
}

TEST_F(FullDownload, DestroysItsFunctionOnceItWasCalled)
{
    const auto captured = std::make_shared<int>();
    const Owned<ZALVLIFullDownload> download(new ZALVLIFullDownload({{"/folder", "https://velmart.example/a", "A"}}));
    download->Start([captured](Notification::Status, const std::vector<ZALVLIFullDownload::DownloadResult>&) {});
    Transport().Last().End();
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(FullDownload, ReleasesTheRequestBeforeItTakesTheFile)
{
    Fetch({{"a", "A"}, {"b", "B"}});
    EXPECT_NE(DownloadProbe::HttpRequest(*Download), nullptr);
    std::vector<const ZALCefHttpRequest*> found;
    RedirectTraces([&](std::string_view, std::string_view) { found.push_back(DownloadProbe::HttpRequest(*Download)); });
    OnOutcome = [&] { found.push_back(DownloadProbe::HttpRequest(*Download)); };
    Transport().Last().End();
    EXPECT_NE(DownloadProbe::HttpRequest(*Download), nullptr) << "of the next item";
    Transport().Last().End();
    EXPECT_THAT(found, ElementsAre(nullptr, nullptr, nullptr));
}

TEST_F(FullDownload, ReleasesTheRequestOfATransferThatFails)
{
    for (const TransferEnd end : {TransferEnd::Failed, TransferEnd::Cancelled}) {
        bool isReleased = false;
        OnOutcome = [&] { isReleased = !DownloadProbe::HttpRequest(*Download); };
        Fetch({{"a", "A"}});
        Transport().Last().End(end);
        EXPECT_TRUE(isReleased);
    }
}

TEST_F(FullDownload, KeepsARequestThatCannotBeSent)
{
    Transport().RefuseNext();
    Fetch({{"a", "A"}});
    EXPECT_NE(DownloadProbe::HttpRequest(*Download), nullptr);
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
    WriteFile(Temp() / "x.ZALPart", "part");
    Fetch({{"a", "A"}});
    ZALUnicodeString path((Temp() / "x.ZALPart").c_str());
    DownloadProbe::SetHttpRequest(*Download, new Request(path));
    DownloadProbe::OnFileDownloaded(*Download, path);
    EXPECT_THAT(Outcomes, ElementsAre(Succeeded({{"A", {InParts("A.ZALPart")}}})));
    EXPECT_EQ(ReadFile(Parts() / "A.ZALPart"), "part");
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

// Without a frame there is no dialog, whose lack alone fails no download.

TEST_F(FullDownloadWithoutMemory, FailsOnceInsideTheStart)
{
    for (const bool framed : {true, false}) {
        ConfigureFrame({.exists = framed});
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            Prepare({"the first of the items", "the second of the items"});
            const std::size_t started = Transport().Count();
            memory.During([&] { Begin(); });
            const int toldInside = calls;
            Loop().RunUntilIdle();
            const bool runs = Transport().Count() > started && Transport().Last().IsRunning();
            EXPECT_EQ(toldInside, runs ? 0 : 1);
            EXPECT_EQ(calls, toldInside) << "the end is told once";
            EXPECT_TRUE(runs || memory.HasRunOut());
            EXPECT_TRUE(framed || !runs || !memory.HasRunOut());
            if (!runs) {
                EXPECT_EQ(status, Notification::DownloadFailed);
                EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
            }
            if (memory.HasRunOut() && runs)
                Transport().Last().End(TransferEnd::Failed);
            Loop().RunUntilIdle();
        });
        EXPECT_GT(failures, 10);
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
        EXPECT_EQ(calls, 1);
    }
}

TEST_F(FullDownloadWithoutMemory, FailsOnceWhenAFileHasCome)
{
    for (const bool framed : {true, false}) {
        ConfigureFrame({.exists = framed});
        int whole = 0;
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            Prepare({"the first of the items", "the second of the items"});
            Begin();
            const std::size_t started = Transport().Count();
            memory.During([&] { Transport().Last().End(); });
            Loop().RunUntilIdle();
            const bool runs = Transport().Count() > started && Transport().Last().IsRunning();
            EXPECT_EQ(calls, runs ? 0 : 1);
            EXPECT_TRUE(runs || memory.HasRunOut());
            EXPECT_TRUE(framed || !runs || !memory.HasRunOut());
            if (!runs) {
                EXPECT_EQ(status, Notification::DownloadFailed);
                EXPECT_LE(results, 1U);
                whole += results == 1 ? 1 : 0;
                EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
                return;
            }
            Transport().Last().End();
            Loop().RunUntilIdle();
            EXPECT_EQ(calls, 1);
            EXPECT_EQ(status, Notification::DownloadSucceeded);
            EXPECT_EQ(results, 2U);
        });
        EXPECT_GT(failures, 10);
        EXPECT_GT(whole, 0);
    }
}

TEST_F(FullDownloadWithoutMemory, FailsOnceWhenTheLastFileHasCome)
{
    for (const bool framed : {true, false}) {
        ConfigureFrame({.exists = framed});
        int failed = 0;
        WithEachAllocationFailing([&](FailingMemory& memory) {
            Prepare({"the only one of the items"});
            Begin();
            memory.During([&] { Transport().Last().End(); });
            Loop().RunUntilIdle();
            EXPECT_EQ(calls, 1);
            const bool hasFailed = status == Notification::DownloadFailed;
            EXPECT_TRUE(hasFailed ? memory.HasRunOut() : status == Notification::DownloadSucceeded && results == 1);
            EXPECT_TRUE(framed || hasFailed || !memory.HasRunOut());
            EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
            failed += hasFailed ? 1 : 0;
        });
        EXPECT_GT(failed, 5);
    }
}

TEST_F(FullDownloadWithoutMemory, FailsOnceWhenATransferWasCancelled)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Prepare({"the only one of the items"});
        Begin();
        memory.During([&] { Transport().Last().End(TransferEnd::Cancelled); });
        Loop().RunUntilIdle();
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(status, memory.HasRunOut() ? Notification::DownloadFailed : Notification::DownloadCanceled);
        EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
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
        EXPECT_EQ(calls, 1);
    }
}

} // namespace
} // namespace openhost::testing
