// Whole sessions as a user plays them: the program openhost, the shared library of the module, the catalogue.

#include "catalogue/service/CatalogueService.h"
#include "catalogue/service/ShapeSearch.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Places.h"
#include "tests/support/StepFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <vector>

using nlohmann::json;
using ::testing::HasSubstr;

namespace {

std::string ReadText(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

class PlayJourney : public ::testing::Test {
protected:
    PlayJourney() : service_(ItemsDir())
    {
        service_.Start();
        std::filesystem::create_directory(Parts());
    }

    struct Play {
        int status;
        std::vector<json> journal;
        std::string output;
        std::string error;
    };

    std::filesystem::path Parts() const { return folder_.Path() / "parts"; }

    /// Plays `session`, a JSON text, with the address of the catalogue as ${BASE} and the user's folder as ${PARTS}.
    Play PlaySession(const std::string& session, const std::string& options = "")
    {
        const std::filesystem::path file = folder_.Path() / "session.json";
        const std::filesystem::path journal = folder_.Path() / "journal";
        std::ofstream(file) << session;
        const std::string command = BuildDir() + "/bin/openhost play '" + file.string() + "' --journal '" +
                                    journal.string() + "' --set BASE=" + service_.GetAddress() + " --set PARTS='" +
                                    Parts().string() + "' " + options + " >'" + (folder_.Path() / "out").string() +
                                    "' 2>'" + (folder_.Path() / "err").string() + "'";
        const int status = std::system(command.c_str());
        Play play{WEXITSTATUS(status), {}, ReadText(folder_.Path() / "out"), ReadText(folder_.Path() / "err")};
        std::ifstream lines(journal);
        for (std::string line; std::getline(lines, line);)
            play.journal.push_back(json::parse(line));
        return play;
    }

    static std::vector<json> Events(const Play& play, const std::string& name)
    {
        std::vector<json> events;
        std::ranges::copy_if(play.journal, std::back_inserter(events),
                             [&](const json& event) { return event["event"] == name; });
        return events;
    }

    std::string Request(const std::string& id) const
    {
        return ReadText(std::filesystem::path(ItemsDir()) / "items" / (id + ".json"));
    }

    std::string DownloadSession(const std::string& content, const std::string& more = "") const
    {
        return R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true}, "traces": true,
            "variables": {"FILES": "/none"},
            "steps": [{"message": {"event": "velmart_ready", "content": {}}},
                      {"message": {"event": "velmart_download", "content": )" +
               content + R"(}}, {"wait": "idle", "seconds": 60})" + more + "]}";
    }

private:
    openhost::TemporaryFolder folder_;
    catalogue::CatalogueService service_;
};

TEST_F(PlayJourney, TheMainSessionBringsTheFilesAndTellsEachStep)
{
    const Play play = PlaySession(DownloadSession(Request("bearing-unit-20")));
    ASSERT_EQ(play.status, 0) << play.error;

    std::vector<std::string> order;
    for (const json& event : play.journal)
        if (order.empty() || order.back() != event["event"])
            order.push_back(event["event"]);
    const auto position = [&](const std::string& name) { return std::ranges::find(order, name) - order.begin(); };
    EXPECT_LT(position("request"), position("transfer"));
    EXPECT_LT(position("transfer"), position("extracted"));
    EXPECT_EQ(order.back(), "end");

    const std::vector<json> requests = Events(play, "request");
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0]["method"], "GET");
    EXPECT_EQ(requests[0]["headers"]["Accept"], "*/*");

    const std::vector<json> transfers = Events(play, "transfer");
    ASSERT_EQ(transfers.size(), 1u);
    EXPECT_EQ(transfers[0]["bytes"],
              std::filesystem::file_size(std::filesystem::path(ItemsDir()) / "files" / "bearing-unit-20.zip"));

    const std::vector<json> extracted = Events(play, "extracted");
    ASSERT_FALSE(extracted.empty());
    for (const json& file : extracted)
        EXPECT_TRUE(std::filesystem::is_regular_file(file["path"].get<std::string>())) << file;

    const std::vector<json> notifications = Events(play, "notification");
    EXPECT_TRUE(std::ranges::any_of(notifications, [](const json& notification) {
        return notification["class"] == "ZALVelmartFileDownloadCompleteNotification";
    }));
    for (const json& result : Events(play, "result"))
        EXPECT_EQ(result["code"], "S_OK") << result;
    EXPECT_TRUE(std::ranges::any_of(Events(play, "trace"), [](const json& trace) {
        return trace["text"] == "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_download";
    }));
    EXPECT_TRUE(std::ranges::any_of(Events(play, "window"), [](const json& window) {
        return window["name"] == "ZALVelmartDownloadProgressDlg" && window["action"] == "shown";
    }));
}

TEST_F(PlayJourney, TheAccountTellsTheMessageTheFilesAndTheTree)
{
    const Play play = PlaySession(DownloadSession(Request("bolted-joint-m8")), "--account");
    ASSERT_EQ(play.status, 0) << play.error;
    EXPECT_THAT(play.output, HasSubstr("velmart_download"));
    EXPECT_THAT(play.output, HasSubstr("GET http://127.0.0.1:"));
    EXPECT_THAT(play.output, HasSubstr(" bytes  "));
    for (const auto& file : std::filesystem::directory_iterator(Parts()))
        EXPECT_THAT(play.output, HasSubstr(file.path().filename().string()));
}

TEST_F(PlayJourney, AUserChoosesTheFolderAndThenChangesHisSettings)
{
    const Play play = PlaySession(R"({"variables": {"FILES": "/none"},
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
    ASSERT_EQ(play.status, 0) << play.error;
    EXPECT_THAT(play.output,
                HasSubstr("VLDownloadLocationEditor of ZALVelmartDownloadLocationDlg: \"" + Parts().string() + "\""));
    EXPECT_THAT(play.output, HasSubstr("OK of ZALVelmartDownloadLocationDlg\n"));
    EXPECT_THAT(play.output, HasSubstr("VLDoNotRemindDownloadLocationCheckButton of Options: checked"));
    EXPECT_THAT(play.output, HasSubstr("CreateFrame S_OK"));
    EXPECT_THAT(play.output, HasSubstr("Save S_OK"));
    EXPECT_FALSE(std::filesystem::is_empty(Parts()));
    EXPECT_EQ(Events(play, "settings").size(), 2u) << "the folder by the dialog, the flag by the page";
}

TEST_F(PlayJourney, TwoSessionsOfOneKindGiveTheSameEvents)
{
    const auto names = [](const Play& play) {
        std::vector<std::string> events;
        for (const json& event : play.journal)
            if (event["event"] != "progress")
                events.push_back(event["event"]);
        return events;
    };
    const Play first = PlaySession(DownloadSession(Request("bolted-joint-m8")));
    std::filesystem::remove_all(Parts());
    std::filesystem::create_directory(Parts());
    const Play second = PlaySession(DownloadSession(Request("bolted-joint-m8")));
    EXPECT_EQ(names(first), names(second));
}

TEST_F(PlayJourney, AFailedDownloadIsToldAndTheSessionGoesOn)
{
    const Play play = PlaySession(DownloadSession(R"({"download": "${BASE}/files/none.zip"})",
                                                  R"(, {"message": {"event": "velmart_over", "content": null}})"));
    EXPECT_EQ(play.status, 0) << play.error;
    const std::vector<json> dialogs = Events(play, "dialog");
    ASSERT_EQ(dialogs.size(), 1u);
    EXPECT_EQ(dialogs[0]["name"], "FileDownloadErrorNotify");
    EXPECT_EQ(dialogs[0]["style"], 16384);
    EXPECT_EQ(dialogs[0]["answer"], 0);
}

TEST_F(PlayJourney, AnInsertOutsideTheProductWorkshopIsRefused)
{
    const Play play = PlaySession(R"({"workshop": "PartWorkshop", "steps": [
        {"message": {"event": "velmart_insert", "content": {"download": "${BASE}/files/bolted-joint-m8.zip"}}}]})");
    EXPECT_EQ(play.status, 0) << play.error;
    ASSERT_EQ(Events(play, "dialog").size(), 1u);
    EXPECT_EQ(Events(play, "dialog")[0]["name"], "FileOpenInsertReplaceErrorNotify");
    EXPECT_EQ(Events(play, "result").back()["code"], "0x80004005");
    EXPECT_TRUE(Events(play, "request").empty());
}

TEST_F(PlayJourney, AWaitForWhatCannotComeFailsTheSession)
{
    const Play play = PlaySession(R"({"steps": [{"message": {"event": "velmart_over", "content": 0}},
                                                {"wait": "transfer", "seconds": 5}]})");
    EXPECT_EQ(play.status, 1);
    EXPECT_EQ(play.journal.back()["event"], "end");
    EXPECT_EQ(play.journal.back()["step"], 2);
}

TEST_F(PlayJourney, ABadSessionIsRefusedWithItsLine)
{
    const Play play = PlaySession("{\n\"steps\": [\n{\"messages\": {}}]}");
    EXPECT_EQ(play.status, 2);
    EXPECT_THAT(play.error, HasSubstr(":3:"));
    EXPECT_TRUE(play.journal.empty());
}

TEST_F(PlayJourney, ShowPrintsTheTreeOfADownloadedAssembly)
{
    ASSERT_EQ(PlaySession(DownloadSession(Request("bolted-joint-m8"))).status, 0);
    std::filesystem::path product;
    for (const auto& file : std::filesystem::directory_iterator(Parts()))
        if (file.path().extension() == ".ZALProduct")
            product = file.path();
    ASSERT_FALSE(product.empty());
    const std::filesystem::path output = Parts() / "shown";
    const std::string command = BuildDir() + "/bin/openhost show '" + product.string() + "' >'" + output.string() + "'";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0);
    EXPECT_THAT(ReadText(output), HasSubstr(product.filename().string()));
    EXPECT_THAT(ReadText(output), HasSubstr(".ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Items in the session

/// A product of the user, "frame", beside the files of the items: three instances of a part and one of another.
class InsertionJourney : public PlayJourney {
protected:
    InsertionJourney()
    {
        for (const char* name : {"plate", "post"}) {
            openhost::CadDocument part;
            part.partNumber = name;
            WriteDocument(part, Parts() / (std::string(name) + ".ZALPart"));
        }
        openhost::CadDocument frame;
        frame.kind = openhost::DocumentKind::Product;
        frame.partNumber = "frame";
        frame.links = {"plate.ZALPart", "post.ZALPart"};
        for (const char* name : {"plate.1", "plate.2", "post.1", "plate.3"}) {
            openhost::Placement placement = openhost::IdentityPlacement;
            placement[3] = 100.0 * static_cast<double>(frame.children.size());
            frame.children.push_back({name, name[1] == 'o' ? 1u : 0u, placement});
        }
        WriteDocument(frame, Frame());
    }

    std::filesystem::path Frame() const { return Parts() / "frame.ZALProduct"; }

    /// Sends `event` for an item, picks `target`, and saves the product.
    Play PlayRequest(const std::string& event, const std::string& target, const std::string& before = "")
    {
        return PlaySession(
            R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true},
                "variables": {"FILES": "/none"}, "documents": ["${PARTS}/frame.ZALProduct"],
                "steps": [)" +
            before + R"({"message": {"event": ")" + event + R"(", "content": )" + Request("bolted-joint-m8") +
            R"(}}, {"select": ")" + target + R"("}, {"wait": "idle"}, {"tree": "${PARTS}/frame.ZALProduct"},
                {"save": "${PARTS}/frame.ZALProduct"}]})");
    }

    /// Names, files and shifts along x of the children of the saved product.
    std::vector<std::string> SavedChildren() const
    {
        const openhost::CadDocument saved = openhost::ReadDocument(Frame());
        std::vector<std::string> children;
        for (const openhost::ChildInstance& child : saved.children)
            children.push_back(child.name + "=" + saved.links[child.link] + "@" +
                               std::to_string(static_cast<int>(child.placement[3])));
        return children;
    }

    /// Part number and file name of the item's root product.
    static std::pair<std::string, std::string> RootOf(const Play& play)
    {
        for (const json& event : Events(play, "extracted")) {
            const std::filesystem::path file = event["path"].get<std::string>();
            if (file.extension() == ".ZALProduct")
                return {openhost::ReadDocument(file).partNumber, file.filename().string()};
        }
        return {};
    }
};

TEST_F(InsertionJourney, OpenOpensTheRootOfTheItem)
{
    const Play play = PlaySession(
        R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true},
            "variables": {"FILES": "/none"},
            "steps": [{"message": {"event": "velmart_open", "content": )" +
        Request("bolted-joint-m8") + R"(}}, {"wait": "idle"}]})");
    ASSERT_EQ(play.status, 0) << play.error;
    const std::vector<json> documents = Events(play, "document");
    ASSERT_EQ(documents.size(), 1u);
    EXPECT_EQ(documents[0]["action"], "opened");
    EXPECT_EQ(documents[0]["path"], std::filesystem::canonical(Parts() / RootOf(play).second).string());
}

TEST_F(InsertionJourney, InsertAddsTheItemBelowTheSelectedProduct)
{
    const Play play = PlayRequest("velmart_insert", "frame");
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    const auto [partNumber, file] = RootOf(play);
    EXPECT_EQ(SavedChildren(), (std::vector<std::string>{"plate.1=plate.ZALPart@0", "plate.2=plate.ZALPart@100",
                                                         "post.1=post.ZALPart@200", "plate.3=plate.ZALPart@300",
                                                         partNumber + ".1=" + file + "@0"}));
    ASSERT_EQ(Events(play, "tree").size(), 1u);
    EXPECT_EQ(Events(play, "tree")[0]["root"]["children"].size(), 5u);
    EXPECT_TRUE(Events(play, "dialog").empty());
}

TEST_F(InsertionJourney, NothingIsFetchedBeforeTheTargetIsPickedAndARefusedPickWaitsOn)
{
    const Play play = PlaySession(
        R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true},
            "variables": {"FILES": "/none"}, "documents": ["${PARTS}/frame.ZALProduct"],
            "steps": [{"message": {"event": "velmart_insert", "content": )" +
        Request("bolted-joint-m8") + R"(}}, {"wait": "idle"}, {"select": "frame/post.1"}, {"wait": "idle"}]})");
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    EXPECT_TRUE(Events(play, "request").empty());
    ASSERT_EQ(Events(play, "selection").size(), 1u);
    EXPECT_EQ(Events(play, "selection")[0]["accepted"], false);
}

TEST_F(InsertionJourney, ReplaceReplacesOneComponentOrAllByTheAnswer)
{
    const Play one =
        PlayRequest("velmart_replace", "frame/plate.2", R"({"answer": {"dialog": "ReplaceAllPopUp", "button": 4}},)");
    ASSERT_EQ(one.status, 0) << one.error << one.journal.back();
    const auto [partNumber, file] = RootOf(one);
    EXPECT_EQ(SavedChildren(), (std::vector<std::string>{"plate.1=plate.ZALPart@0", partNumber + ".1=" + file + "@100",
                                                         "post.1=post.ZALPart@200", "plate.3=plate.ZALPart@300"}));

    const Play all = PlayRequest("velmart_replace", "frame/plate.1",
                                 R"({"answer": {"dialog": "OverwriteNotify", "button": 3}},
                                    {"answer": {"dialog": "ReplaceAllPopUp", "button": 3}},)");
    ASSERT_EQ(all.status, 0) << all.error << all.journal.back();
    EXPECT_EQ(SavedChildren(),
              (std::vector<std::string>{partNumber + ".2=" + file + "@0", partNumber + ".1=" + file + "@100",
                                        "post.1=post.ZALPart@200", partNumber + ".3=" + file + "@300"}));
}

TEST_F(InsertionJourney, AMoveTurnsAComponentAboutItsOriginAndIsSaved)
{
    const Play play = PlaySession(
        R"({"documents": ["${PARTS}/frame.ZALProduct"],
            "steps": [{"move": "frame/post.1", "at": [1, 2.5, -3], "axis": [0, 0, 2], "angle": 90},
                      {"move": "frame/plate.2", "at": [7, 8, 9]},
                      {"save": "${PARTS}/frame.ZALProduct"}]})");
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    const openhost::CadDocument saved = openhost::ReadDocument(Frame());
    const openhost::Placement turned{0, -1, 0, 1, 1, 0, 0, 2.5, 0, 0, 1, -3};
    for (std::size_t i = 0; i < turned.size(); ++i)
        EXPECT_NEAR(saved.children[2].placement[i], turned[i], 1e-12) << i;
    EXPECT_EQ(saved.children[1].placement, (openhost::Placement{1, 0, 0, 7, 0, 1, 0, 8, 0, 0, 1, 9}));
    EXPECT_EQ(saved.children[0].placement, openhost::IdentityPlacement);
}

TEST_F(InsertionJourney, APathThatIsNotThereAndADocumentThatIsNotLoadedFailTheirSteps)
{
    for (const char* step :
         {R"({"select": "frame/none"})", R"({"select": "frame"})", R"({"tree": "none.ZALPart"})",
          R"({"move": "frame/none", "at": [0, 0, 0]})", R"({"move": "frame", "at": [0, 0, 0]})",
          R"({"save": "${PARTS}/post.ZALPart", "as": "${PARTS}/post.txt"})", R"({"close": "${PARTS}/post.ZALPart"})"}) {
        const Play play =
            PlaySession(R"({"documents": ["${PARTS}/frame.ZALProduct"], "steps": [)" + std::string(step) + "]}");
        EXPECT_EQ(play.status, 1) << step;
        EXPECT_EQ(play.journal.back()["step"], 1) << step;
    }
}

TEST_F(InsertionJourney, AnInsertedItemIsSavedUnderAnotherNameAndTheFirstFileStays)
{
    const openhost::CadDocument before = openhost::ReadDocument(Frame());
    const Play play = PlaySession(
        R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true},
            "variables": {"FILES": "/none"}, "documents": ["${PARTS}/frame.ZALProduct"],
            "steps": [{"message": {"event": "velmart_insert", "content": )" +
            Request("bolted-joint-m8") + R"(}}, {"select": "frame"}, {"wait": "idle"},
                {"save": "${PARTS}/frame.ZALProduct", "as": "${PARTS}/second.ZALProduct"},
                {"tree": "${PARTS}/second.ZALProduct"}, {"close": "${PARTS}/second.ZALProduct"}]})",
        "--account");
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    EXPECT_EQ(openhost::ReadDocument(Frame()), before);
    const openhost::CadDocument saved = openhost::ReadDocument(Parts() / "second.ZALProduct");
    ASSERT_EQ(saved.children.size(), before.children.size() + 1);
    EXPECT_EQ(saved.links[saved.children.back().link], RootOf(play).second);

    std::vector<std::string> actions;
    for (const json& document : Events(play, "document"))
        actions.push_back(document["action"]);
    EXPECT_EQ(actions, (std::vector<std::string>{"opened", "changed", "saved", "closed"}));
    EXPECT_THAT(play.output, HasSubstr("Selection     frame, accepted\n"));
    EXPECT_THAT(play.output, HasSubstr("Prompt        "));
    EXPECT_THAT(play.output, HasSubstr("              ├─ plate.1  [plate.ZALPart]  at (0, 0, 0)\n"));
    EXPECT_THAT(play.output, HasSubstr("Tree          frame  [second.ZALProduct]\n"));
}

// ---------------------------------------------------------------------------------------------
// The session of examples/: an item opened, another inserted, moved and replaced, all instances of a component replaced

TEST_F(PlayJourney, TheExampleChangesAProductAndSavesIt)
{
    const Play play = PlaySession(ReadText(SourceDir() + "/examples/change-product.json"));
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    EXPECT_FALSE(play.journal.back().contains("unusedAnswers"));
    for (const json& selection : Events(play, "selection"))
        EXPECT_EQ(selection["accepted"], true) << selection;

    const openhost::CadDocument saved = openhost::ReadDocument(Parts() / "BEARING_UNIT_20.ZALProduct");
    std::vector<std::string> names;
    for (const openhost::ChildInstance& child : saved.children)
        names.push_back(child.name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"HOUSING_47.1", "ISO15_6204.1", "SHAFT_20x154.1", "ISO4014_M6x30.1",
                                        "ISO4014_M6x30.2", "ISO4014_M6x30.3", "ISO4014_M6x30.4", "GEAR_M2_Z36.1"}));
    EXPECT_EQ(saved.links, (std::vector<std::string>{"HOUSING_47.ZALPart", "ISO15_6204.ZALPart", "SHAFT_20x154.ZALPart",
                                                     "ISO4014_M6x30.ZALPart", "GEAR_M2_Z36.ZALPart"}));
    const openhost::Placement onTheShaft{1, 0, 0, 0, 0, 0, 1, 91, 0, -1, 0, 50};
    for (std::size_t i = 0; i < onTheShaft.size(); ++i)
        EXPECT_NEAR(saved.children[7].placement[i], onTheShaft[i], 1e-12) << i;

    // What another system reads in the exported product.
    const std::filesystem::path step = Parts() / "product.step";
    const std::string command = BuildDir() + "/bin/openhost export '" +
                                (Parts() / "BEARING_UNIT_20.ZALProduct").string() + "' '" + step.string() + "'";
    ASSERT_EQ(WEXITSTATUS(std::system(command.c_str())), 0);
    const openhost::testing::StepFile read(step);
    EXPECT_EQ(read.root, "BEARING_UNIT_20");
    EXPECT_EQ(read.products, 6u);
    std::size_t solids = 0;
    double volume = 0;
    for (std::size_t i = 0; i < saved.children.size(); ++i) {
        SCOPED_TRACE(names[i]);
        const openhost::GeometryFacts facts =
            openhost::ReadDocument(Parts() / saved.links[saved.children[i].link]).geometry.value().facts;
        solids += facts.solids;
        volume += facts.volume;
        const openhost::testing::StepInstance& instance = read.Find(names[i]);
        EXPECT_NEAR(instance.volume, facts.volume, 1e-5 * facts.volume);
        for (std::size_t number = 0; number < instance.placement.size(); ++number)
            EXPECT_NEAR(instance.placement[number], saved.children[i].placement[number], 1e-7) << number;
    }
    EXPECT_EQ(read.solids, solids);
    EXPECT_NEAR(read.volume, volume, 1e-5 * volume);
}

// ---------------------------------------------------------------------------------------------
// The session of examples/ with a component on the bridge: an item that it takes over, one that it leaves

TEST_F(PlayJourney, TheExampleOfTheBridgeOpensAnItemThatAnotherComponentHandsOver)
{
    const Play play = PlaySession(ReadText(SourceDir() + "/examples/bridge.json"), "--account");
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    EXPECT_FALSE(play.journal.back().contains("unusedReplies"));
    EXPECT_TRUE(Events(play, "dialog").empty());

    std::vector<std::string> talk;
    for (const json& event : Events(play, "bridge")) {
        const json message = json::parse(event["text"].get<std::string>());
        talk.push_back(event["direction"].get<std::string>() + " " + message.value("method", "reply"));
    }
    EXPECT_EQ(talk, (std::vector<std::string>{"sent downloadQ7FilesFromTolva", "received downloadFilesFromVL",
                                              "sent reply", "received reply", "sent EndTransaction",
                                              "sent downloadQ7FilesFromTolva", "received reply"}));
    const json transaction = json::parse(Events(play, "bridge")[4]["text"].get<std::string>());
    EXPECT_EQ(transaction["params"]["filePathes"],
              (json{(Parts() / "BOLTED_JOINT_M8.ZALProduct").string(), (Parts() / "Washer.ZALPart").string()}));

    const std::vector<json> documents = Events(play, "document");
    ASSERT_EQ(documents.size(), 2u);
    EXPECT_EQ(documents[0]["path"], std::filesystem::canonical(Parts() / "BOLTED_JOINT_M8.ZALProduct").string());
    EXPECT_EQ(documents[1]["action"], "opened");
    EXPECT_EQ(Events(play, "moved").size(), 1u);
    EXPECT_THAT(play.output, HasSubstr("Bridge        the module sends {\"method\":\"downloadQ7FilesFromTolva\""));
    EXPECT_THAT(play.output, HasSubstr("the module receives {\"method\":\"downloadFilesFromVL\""));
    EXPECT_THAT(play.output, HasSubstr("Washer.ZALPart\n"));
}

TEST_F(PlayJourney, TheExampleFindsSimilarShapes)
{
    const Play play = PlaySession(ReadText(SourceDir() + "/examples/find-similar.json"));
    ASSERT_EQ(play.status, 0) << play.error << play.journal.back();
    EXPECT_FALSE(play.journal.back().contains("unusedAnswers"));
    ASSERT_EQ(Events(play, "script").size(), 1u);

    // The bolt that was selected is an item of the catalogue: its own shape is nearer than any other one.
    const std::string script = Events(play, "script")[0]["text"];
    const std::string head = "OpApi.sendMessage('search', {query: '";
    ASSERT_THAT(script, ::testing::AllOf(::testing::StartsWith(head), ::testing::EndsWith("'});")));
    const std::string query = script.substr(head.size(), script.size() - head.size() - 4);
    const auto found = catalogue::ShapeSearch(std::filesystem::path(ItemsDir()) / "index.json").Search(query);
    EXPECT_EQ(found.at(0)["id"], "hexagon-bolt-m8x40");
    EXPECT_NEAR(found.at(0)["score"], 1, 0.01);
    EXPECT_LT(found.at(1)["score"], found.at(0)["score"]);
}
