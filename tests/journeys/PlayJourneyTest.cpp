// Whole sessions as a user plays them: the program openhost, the shared library of the module, the catalogue.

#include "catalogue/service/ShapeSearch.h"
#include "openhost/documents/CadDocument.h"
#include "tests/journeys/JourneyFixture.h"
#include "tests/journeys/ProgramFixture.h"
#include "tests/support/Places.h"
#include "tests/support/StepFile.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace openhost::testing {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class PlayJourney : public ProgramFixture {
protected:
    /// Plays a session that must lead to its end.
    Played PlayToTheEnd(const std::string& session, const std::string& options = "") const
    {
        const Played play = Play(session, options);
        EXPECT_EQ(0, play.status) << play.error << (play.journal.empty() ? json() : play.journal.back());
        return play;
    }
    Played PlayExample(const std::string& name, const std::string& options = "") const
    {
        return PlayToTheEnd(ReadFile(SourceDir() + "/examples/" + name), options);
    }
    static std::string Request(const std::string& id)
    {
        return ReadFile(std::filesystem::path(ItemsDir()) / "items" / (id + ".json"));
    }

    /// A session of `steps` with a folder for downloads; `more` stands beside its steps.
    static std::string Session(const std::string& steps, const std::string& more = "")
    {
        return R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true}, )" + more +
               R"("traces": true, "variables": {"FILES": "/none"}, "steps": [)" + steps + "]}";
    }
    /// The step in which the page asks for something.
    static std::string Ask(const std::string& event, const std::string& content)
    {
        return R"({"message": {"event": ")" + event + R"(", "content": )" + content + "}}, ";
    }
    static std::string DownloadSession(const std::string& content, const std::string& more = "")
    {
        return Session(Ask("velmart_ready", "{}") + Ask("velmart_download", content) +
                       R"({"wait": "idle", "seconds": 60})" + more);
    }
};

TEST_F(PlayJourney, TheMainSessionBringsTheFilesAndTellsEachStep)
{
    const Played play = PlayToTheEnd(DownloadSession(Request("bearing-unit-20")));

    std::vector<std::string> order;
    for (const json& event : play.journal)
        if (order.empty() || order.back() != event["event"])
            order.push_back(event["event"]);
    const auto position = [&](const std::string& name) { return std::ranges::find(order, name) - order.begin(); };
    EXPECT_LT(position("request"), position("transfer"));
    EXPECT_LT(position("transfer"), position("extracted"));
    EXPECT_EQ("end", order.back());

    const std::vector<json> requests = Events(play, "request");
    ASSERT_EQ(1U, requests.size());
    EXPECT_EQ("GET", requests[0]["method"]);
    EXPECT_EQ("*/*", requests[0]["headers"]["Accept"]);

    const std::vector<json> transfers = Events(play, "transfer");
    ASSERT_EQ(1U, transfers.size());
    EXPECT_EQ(std::filesystem::file_size(std::filesystem::path(ItemsDir()) / "files" / "bearing-unit-20.zip"),
              transfers[0]["bytes"]);

    const std::vector<json> extracted = Events(play, "extracted");
    ASSERT_FALSE(extracted.empty());
    for (const json& file : extracted)
        EXPECT_TRUE(std::filesystem::is_regular_file(file["path"].get<std::string>())) << file;

    const std::vector<json> notifications = Events(play, "notification");
    EXPECT_TRUE(std::ranges::any_of(notifications, [](const json& notification) {
        return notification["class"] == "ZALVelmartFileDownloadCompleteNotification";
    }));
    for (const json& result : Events(play, "result"))
        EXPECT_EQ("S_OK", result["code"]) << result;
    EXPECT_TRUE(std::ranges::any_of(Events(play, "trace"), [](const json& trace) {
        return trace["text"] == "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_download";
    }));
    EXPECT_TRUE(std::ranges::any_of(Events(play, "window"), [](const json& window) {
        return window["name"] == "ZALVelmartDownloadProgressDlg" && window["action"] == "shown";
    }));
}

TEST_F(PlayJourney, TheAccountTellsADownloadOnOneScreen)
{
    const Played play = PlayToTheEnd(DownloadSession(Request("bolted-joint-m8")), "--account");
    EXPECT_THAT(play.output, HasSubstr("The page asks for Bolted joint M8, grip 26 to be downloaded\n"));
    EXPECT_THAT(play.output, HasSubstr(" KB from http://127.0.0.1:"));
    EXPECT_THAT(play.output, HasSubstr("\nProduct BOLTED_JOINT_M8  ["));
    EXPECT_GE(35, std::ranges::count(play.output, '\n')) << "one screen";
    for (const auto& file : std::filesystem::directory_iterator(Parts()))
        EXPECT_THAT(play.output, HasSubstr(file.path().filename().string()));
}

TEST_F(PlayJourney, AUserChoosesTheFolderAndThenChangesHisSettings)
{
    const Played play = PlayToTheEnd(R"({"variables": {"FILES": "/none"},
        "steps": [{"message": {"event": "velmart_download", "content": )" +
                                         Request("bolted-joint-m8") + R"(}}, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationEditor",
                  "text": "${PARTS}"}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}},
        {"wait": "extracted"}, {"wait": "idle"},
        {"options": "open"}, {"options": "refresh"},
        {"push": {"dialog": "Options", "control": "VLDoNotRemindDownloadLocationCheckButton", "state": true}},
        {"options": "save"}]})",
                                     "--account");
    EXPECT_THAT(play.output, HasSubstr("The user enters " + Parts().string() + " as the download folder\n"));
    EXPECT_THAT(play.output, HasSubstr("The user pushes OK\n"));
    EXPECT_THAT(play.output, HasSubstr("The user opens the page of settings\n"));
    EXPECT_THAT(play.output, HasSubstr("The user checks that it is not asked for again\n"));
    EXPECT_THAT(play.output, HasSubstr("The user saves the settings\n  The settings are saved\n"));
    EXPECT_FALSE(std::filesystem::is_empty(Parts()));
    EXPECT_EQ(2U, Events(play, "settings").size()) << "the folder by the dialog, the flag by the page";
}

TEST_F(PlayJourney, TwoSessionsOfOneKindGiveTheSameEvents)
{
    const auto names = [](const Played& play) {
        std::vector<std::string> events;
        for (const json& event : play.journal)
            if (event["event"] != "progress")
                events.push_back(event["event"]);
        return events;
    };
    const Played first = Play(DownloadSession(Request("bolted-joint-m8")));
    std::filesystem::remove_all(Parts());
    std::filesystem::create_directory(Parts());
    const Played second = Play(DownloadSession(Request("bolted-joint-m8")));
    EXPECT_EQ(names(first), names(second));
}

TEST_F(PlayJourney, AFailedDownloadIsToldAndTheSessionGoesOn)
{
    const Played play = PlayToTheEnd(DownloadSession(R"({"download": "${BASE}/files/none.zip"})",
                                                     R"(, {"message": {"event": "velmart_over", "content": null}})"));
    const std::vector<json> dialogs = Events(play, "dialog");
    ASSERT_EQ(1U, dialogs.size());
    EXPECT_EQ("FileDownloadErrorNotify", dialogs[0]["name"]);
    EXPECT_EQ(16384, dialogs[0]["style"]);
    EXPECT_EQ(0, dialogs[0]["answer"]);
}

TEST_F(PlayJourney, AnInsertOutsideTheProductWorkshopIsRefused)
{
    const Played play = PlayToTheEnd(R"({"workshop": "PartWorkshop", "steps": [
        {"message": {"event": "velmart_insert", "content": {"download": "${BASE}/files/bolted-joint-m8.zip"}}}]})");
    ASSERT_EQ(1U, Events(play, "dialog").size());
    EXPECT_EQ("FileOpenInsertReplaceErrorNotify", Events(play, "dialog")[0]["name"]);
    EXPECT_EQ("0x80004005", Events(play, "result").back()["code"]);
    EXPECT_TRUE(Events(play, "request").empty());
}

TEST_F(PlayJourney, ShowPrintsTheTreeOfADownloadedAssembly)
{
    ASSERT_EQ(0, Play(DownloadSession(Request("bolted-joint-m8"))).status);
    std::filesystem::path product;
    for (const auto& file : std::filesystem::directory_iterator(Parts()))
        if (file.path().extension() == ".ZALProduct")
            product = file.path();
    ASSERT_FALSE(product.empty());
    const std::filesystem::path output = Parts() / "shown";
    EXPECT_EQ(0, Run("show '" + product.string() + "' >'" + output.string() + "'"));
    EXPECT_THAT(ReadFile(output), HasSubstr(product.filename().string()));
    EXPECT_THAT(ReadFile(output), HasSubstr(".ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Items in the session

/// A product of the user, "frame", beside the files of the items: three instances of a part and one of another.
class InsertionJourney : public PlayJourney {
protected:
    InsertionJourney()
    {
        for (const char* name : {"plate", "post"}) {
            CadDocument part;
            part.partNumber = name;
            WriteDocument(part, Parts() / (std::string(name) + ".ZALPart"));
        }
        CadDocument frame;
        frame.kind = DocumentKind::Product;
        frame.partNumber = "frame";
        frame.links = {"plate.ZALPart", "post.ZALPart"};
        for (const char* name : {"plate.1", "plate.2", "post.1", "plate.3"}) {
            Placement placement = IdentityPlacement;
            placement[3] = 100.0 * static_cast<double>(frame.children.size());
            frame.children.push_back({name, name[1] == 'o' ? 1U : 0U, placement});
        }
        WriteDocument(frame, Frame());
    }

    std::filesystem::path Frame() const { return Parts() / "frame.ZALProduct"; }

    static constexpr const char* FrameIsOpen = R"("documents": ["${PARTS}/frame.ZALProduct"], )";

    /// Sends `event` for an item, picks `target`, and saves the product.
    Played PlayRequest(const std::string& event, const std::string& target, const std::string& before = "")
    {
        return PlayToTheEnd(Session(before + Ask(event, Request("bolted-joint-m8")) + R"({"select": ")" + target +
                                        R"("}, {"wait": "idle"}, {"tree": "${PARTS}/frame.ZALProduct"},
                        {"save": "${PARTS}/frame.ZALProduct"})",
                                    FrameIsOpen));
    }

    /// Names, files and shifts along x of the children of the saved product.
    std::vector<std::string> SavedChildren() const
    {
        const CadDocument saved = ReadDocument(Frame());
        std::vector<std::string> children;
        for (const ChildInstance& child : saved.children)
            children.push_back(child.name + "=" + saved.links[child.link] + "@" +
                               std::to_string(static_cast<int>(child.placement[3])));
        return children;
    }

    /// Part number and file name of the item's root product.
    static std::pair<std::string, std::string> RootOf(const Played& play)
    {
        for (const json& event : Events(play, "extracted")) {
            const std::filesystem::path file = event["path"].get<std::string>();
            if (file.extension() == ".ZALProduct")
                return {ReadDocument(file).partNumber, file.filename().string()};
        }
        return {};
    }
};

TEST_F(InsertionJourney, OpenOpensTheRootOfTheItem)
{
    const Played play = PlayToTheEnd(Session(Ask("velmart_open", Request("bolted-joint-m8")) + R"({"wait": "idle"})"));
    const std::vector<json> documents = Events(play, "document");
    ASSERT_EQ(1U, documents.size());
    EXPECT_EQ("opened", documents[0]["action"]);
    EXPECT_EQ(std::filesystem::canonical(Parts() / RootOf(play).second).string(), documents[0]["path"]);
}

TEST_F(InsertionJourney, InsertAddsTheItemBelowTheSelectedProduct)
{
    const Played play = PlayRequest("velmart_insert", "frame");
    const auto [partNumber, file] = RootOf(play);
    EXPECT_EQ(
        (std::vector<std::string>{"plate.1=plate.ZALPart@0", "plate.2=plate.ZALPart@100", "post.1=post.ZALPart@200",
                                  "plate.3=plate.ZALPart@300", partNumber + ".1=" + file + "@0"}),
        SavedChildren());
    ASSERT_EQ(1U, Events(play, "tree").size());
    EXPECT_EQ(5U, Events(play, "tree")[0]["root"]["children"].size());
    EXPECT_TRUE(Events(play, "dialog").empty());
}

TEST_F(InsertionJourney, NothingIsFetchedUntilATargetIsPickedThatIsTaken)
{
    const Played play = PlayToTheEnd(Session(Ask("velmart_insert", Request("bolted-joint-m8")) +
                                                 R"({"wait": "idle"}, {"select": "frame/post.1"}, {"wait": "idle"})",
                                             FrameIsOpen));
    EXPECT_TRUE(Events(play, "request").empty());
    ASSERT_EQ(1U, Events(play, "selection").size());
    EXPECT_EQ(false, Events(play, "selection")[0]["accepted"]);
}

TEST_F(InsertionJourney, ReplaceReplacesOneComponentOrAllByTheAnswer)
{
    const Played one =
        PlayRequest("velmart_replace", "frame/plate.2", R"({"answer": {"dialog": "ReplaceAllPopUp", "button": 4}},)");
    const auto [partNumber, file] = RootOf(one);
    EXPECT_EQ((std::vector<std::string>{"plate.1=plate.ZALPart@0", partNumber + ".1=" + file + "@100",
                                        "post.1=post.ZALPart@200", "plate.3=plate.ZALPart@300"}),
              SavedChildren());

    const Played all = PlayRequest("velmart_replace", "frame/plate.1",
                                   R"({"answer": {"dialog": "OverwriteNotify", "button": 3}},
                                    {"answer": {"dialog": "ReplaceAllPopUp", "button": 3}},)");
    EXPECT_EQ((std::vector<std::string>{partNumber + ".2=" + file + "@0", partNumber + ".1=" + file + "@100",
                                        "post.1=post.ZALPart@200", partNumber + ".3=" + file + "@300"}),
              SavedChildren());
}

TEST_F(InsertionJourney, AMoveTurnsAComponentAboutItsOriginAndIsSaved)
{
    const Played play = PlayToTheEnd(
        R"({"documents": ["${PARTS}/frame.ZALProduct"],
            "steps": [{"move": "frame/post.1", "at": [1, 2.5, -3], "axis": [0, 0, 2], "angle": 90},
                      {"move": "frame/plate.2", "at": [7, 8, 9]},
                      {"save": "${PARTS}/frame.ZALProduct"}]})");
    const CadDocument saved = ReadDocument(Frame());
    const Placement turned{0, -1, 0, 1, 1, 0, 0, 2.5, 0, 0, 1, -3};
    for (std::size_t i = 0; i < turned.size(); ++i)
        EXPECT_NEAR(saved.children[2].placement[i], turned[i], 1e-12) << i;
    EXPECT_EQ((Placement{1, 0, 0, 7, 0, 1, 0, 8, 0, 0, 1, 9}), saved.children[1].placement);
    EXPECT_EQ(IdentityPlacement, saved.children[0].placement);
}

TEST_F(InsertionJourney, APathThatIsNotThereAndADocumentThatIsNotLoadedFailTheirSteps)
{
    for (const char* step :
         {R"({"select": "frame/none"})", R"({"select": "frame"})", R"({"tree": "none.ZALPart"})",
          R"({"move": "frame/none", "at": [0, 0, 0]})", R"({"move": "frame", "at": [0, 0, 0]})",
          R"({"save": "${PARTS}/post.ZALPart", "as": "${PARTS}/post.txt"})", R"({"close": "${PARTS}/post.ZALPart"})"}) {
        const Played play =
            Play(R"({"documents": ["${PARTS}/frame.ZALProduct"], "steps": [)" + std::string(step) + "]}");
        EXPECT_EQ(1, play.status) << step;
        EXPECT_EQ(1, play.journal.back()["step"]) << step;
    }
}

TEST_F(InsertionJourney, AnInsertedItemIsSavedUnderAnotherNameAndTheFirstFileStays)
{
    const CadDocument before = ReadDocument(Frame());
    const Played play = PlayToTheEnd(
        Session(Ask("velmart_insert", Request("bolted-joint-m8")) + R"({"select": "frame"}, {"wait": "idle"},
                {"save": "${PARTS}/frame.ZALProduct", "as": "${PARTS}/second.ZALProduct"},
                {"tree": "${PARTS}/second.ZALProduct"}, {"close": "${PARTS}/second.ZALProduct"})",
                FrameIsOpen),
        "--account");
    EXPECT_EQ(before, ReadDocument(Frame()));
    const CadDocument saved = ReadDocument(Parts() / "second.ZALProduct");
    ASSERT_EQ(before.children.size() + 1, saved.children.size());
    EXPECT_EQ(RootOf(play).second, saved.links[saved.children.back().link]);

    std::vector<std::string> actions;
    for (const json& document : Events(play, "document"))
        actions.push_back(document["action"]);
    EXPECT_EQ((std::vector<std::string>{"opened", "changed", "saved", "closed"}), actions);
    EXPECT_THAT(play.output, HasSubstr("Select the product to insert the component into. → frame\n"));
    EXPECT_THAT(play.output, HasSubstr(" is inserted into frame\n"));
    EXPECT_THAT(play.output, HasSubstr("  frame  [second.ZALProduct]\n  ├─ plate.1  [plate.ZALPart]  at (0, 0, 0)\n"));
}

// ---------------------------------------------------------------------------------------------
// The session of examples/: an item opened, another inserted, moved and replaced, all instances of a component replaced

TEST_F(PlayJourney, TheExampleChangesAProductAndSavesIt)
{
    const Played play = PlayExample("change-product.json");
    EXPECT_FALSE(play.journal.back().contains("unusedAnswers"));
    for (const json& selection : Events(play, "selection"))
        EXPECT_EQ(true, selection["accepted"]) << selection;

    const CadDocument saved = ReadDocument(Parts() / "BEARING_UNIT_20.ZALProduct");
    std::vector<std::string> names;
    for (const ChildInstance& child : saved.children)
        names.push_back(child.name);
    EXPECT_EQ((std::vector<std::string>{"HOUSING_47.1", "ISO15_6204.1", "SHAFT_20x154.1", "ISO4014_M6x30.1",
                                        "ISO4014_M6x30.2", "ISO4014_M6x30.3", "ISO4014_M6x30.4", "GEAR_M2_Z36.1"}),
              names);
    EXPECT_EQ((std::vector<std::string>{"HOUSING_47.ZALPart", "ISO15_6204.ZALPart", "SHAFT_20x154.ZALPart",
                                        "ISO4014_M6x30.ZALPart", "GEAR_M2_Z36.ZALPart"}),
              saved.links);
    const Placement onTheShaft{1, 0, 0, 0, 0, 0, 1, 91, 0, -1, 0, 50};
    for (std::size_t i = 0; i < onTheShaft.size(); ++i)
        EXPECT_NEAR(saved.children[7].placement[i], onTheShaft[i], 1e-12) << i;

    // What another system reads in the exported product.
    const std::filesystem::path step = Parts() / "product.step";
    ASSERT_EQ(0, Run("export '" + (Parts() / "BEARING_UNIT_20.ZALProduct").string() + "' '" + step.string() + "'"));
    const StepFile read(step);
    EXPECT_EQ("BEARING_UNIT_20", read.root);
    EXPECT_EQ(6U, read.products);
    std::size_t solids = 0;
    double volume = 0;
    for (std::size_t i = 0; i < saved.children.size(); ++i) {
        SCOPED_TRACE(names[i]);
        const GeometryFacts facts =
            ReadDocument(Parts() / saved.links[saved.children[i].link]).geometry.value().facts.value();
        solids += facts.solids;
        volume += facts.volume;
        const StepInstance& instance = read.Find(names[i]);
        EXPECT_NEAR(instance.volume, facts.volume, 1e-5 * facts.volume);
        for (std::size_t number = 0; number < instance.placement.size(); ++number)
            EXPECT_NEAR(instance.placement[number], saved.children[i].placement[number], 1e-7) << number;
    }
    EXPECT_EQ(solids, read.solids);
    EXPECT_NEAR(read.volume, volume, 1e-5 * volume);
}

// ---------------------------------------------------------------------------------------------
// The session of examples/ with a component on the bridge: an item that it takes over, one that it leaves

TEST_F(PlayJourney, TheExampleOfTheBridgeOpensWhatAComponentHandsOver)
{
    const Played play = PlayExample("bridge.json", "--account");
    EXPECT_FALSE(play.journal.back().contains("unusedReplies"));
    EXPECT_TRUE(Events(play, "dialog").empty());

    std::vector<std::string> talk;
    for (const json& event : Events(play, "bridge")) {
        const json message = json::parse(event["text"].get<std::string>());
        talk.push_back(event["direction"].get<std::string>() + " " + message.value("method", "reply"));
    }
    EXPECT_EQ((std::vector<std::string>{"sent downloadQ7FilesFromTolva", "received downloadFilesFromVL", "sent reply",
                                        "received reply", "sent EndTransaction", "sent downloadQ7FilesFromTolva",
                                        "received reply"}),
              talk);
    const json transaction = json::parse(Events(play, "bridge")[4]["text"].get<std::string>());
    EXPECT_EQ((json{(Parts() / "BOLTED_JOINT_M8.ZALProduct").string(), (Parts() / "Washer.ZALPart").string()}),
              transaction["params"]["filePathes"]);

    const std::vector<json> documents = Events(play, "document");
    ASSERT_EQ(2U, documents.size());
    EXPECT_EQ(std::filesystem::canonical(Parts() / "BOLTED_JOINT_M8.ZALProduct").string(), documents[0]["path"]);
    EXPECT_EQ("opened", documents[1]["action"]);
    EXPECT_EQ(1U, Events(play, "moved").size());
    EXPECT_THAT(play.output, HasSubstr("Another component is asked to fetch the files\n"));
    EXPECT_THAT(play.output, HasSubstr("It asks for files to be fetched\n"));
    EXPECT_THAT(play.output, HasSubstr("Washer.ZALPart\n"));
}

TEST_F(PlayJourney, TheExampleFindsSimilarShapes)
{
    const Played play = PlayExample("find-similar.json");
    EXPECT_FALSE(play.journal.back().contains("unusedAnswers"));
    ASSERT_EQ(1U, Events(play, "script").size());
    // The bolt that was selected is an item of the catalogue: its own shape is nearer than any other one.
    const std::string script = Events(play, "script")[0]["text"];
    const std::string head = "OpApi.sendMessage('search', {query: '";
    ASSERT_THAT(script, ::testing::AllOf(::testing::StartsWith(head), ::testing::EndsWith("'});")));
    const std::string query = script.substr(head.size(), script.size() - head.size() - 4);
    const catalogue::ItemStore items(std::filesystem::path(ItemsDir()) / catalogue::StoreName);
    const auto found = catalogue::ShapeSearch(items).Search(query, 2);
    EXPECT_EQ("hexagon-bolt-m8x40", found.at(0)["id"]);
    EXPECT_NEAR(found.at(0)["score"], 1, 0.01);
    EXPECT_LT(found.at(1)["score"], found.at(0)["score"]);
}

} // namespace
} // namespace openhost::testing
