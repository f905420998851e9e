#include "tests/openhost/play/SessionFixture.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/PathVariables.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/PollEventLoop.h"
#include "openhost/panel/Panel.h"
#include "openhost/panel/RecordedPage.h"
#include "openhost/settings/SettingsStore.h"

#include "host/frame.h"
#include "host/http.h"

#include <gmock/gmock.h>

#include <fstream>

#include <stdlib.h>

namespace openhost {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class SessionPlayerTest : public SessionFixture {
protected:
    /// A step that downloads what `path` of the service gives.
    static std::string Download(const std::string& path)
    {
        return R"({"message": {"event": "velmart_download", "content": {"downloadUrl": "${BASE})" + path + "\"}}}";
    }

    std::filesystem::path WriteProduct(const std::string& name) const
    {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.partNumber = name;
        WriteDocument(document, folder_.Path() / name);
        return folder_.Path() / name;
    }

    bool HasPart() const { return std::filesystem::exists(Downloads() / "part-000001.ZALPart"); }

    const std::string Ready = R"({"message": {"event": "velmart_ready", "content": {}}})";
    const std::string OnePart = Download("/archive?entries=1");
    const std::string Slow = Download("/archive?entries=100&piece=1&pause=600000");
};

/// A desktop that somebody is said to see. Its user answers No.
class DesktopOnPaper : public Desktop {
public:
    bool HasDisplay() const override { return true; }
    std::unique_ptr<EventLoop> MakeLoop() override { return std::make_unique<PollEventLoop>(); }
    std::unique_ptr<DialogSurface> MakeDialogs() override { return std::make_unique<Dialogs>(told); }
    std::unique_ptr<PanelPages> MakePages() override { return std::make_unique<RecordedPages>(); }
    std::unique_ptr<DesktopWindow> OpenWindow(const WindowSubject&) override
    {
        return std::make_unique<Window>(closed);
    }

    std::vector<std::string> told;
    bool closed = false; ///< the user has closed the window

private:
    class Window : public DesktopWindow {
    public:
        explicit Window(const bool& closed) : closed_(closed) {}
        void Open(const std::filesystem::path&) override {}
        void LetUserAct() override {}
        bool IsClosed() const override { return closed_; }

    private:
        const bool& closed_;
    };
    class Dialogs : public DialogSurface {
    public:
        explicit Dialogs(std::vector<std::string>& told) : told_(told) {}
        void Shown(ZALDialog& dialog) override { told_.push_back(ZALDialogNode::Of(dialog).Name()); }
        void Hidden(ZALDialog&) override {}
        void Changed(ZALDialog&) override {}
        void Ended(ZALDialog&) override {}
        int Ask(ZALDlgNotify& question, const ZALUnicodeString&, const ZALUnicodeString&) override
        {
            told_.push_back(ZALDialogNode::Of(question).Name());
            return ZALDlgAnswerNo;
        }

    private:
        std::vector<std::string>& told_;
    };
};

TEST_F(SessionPlayerTest, WithADisplayTheUserAnswersAfterTheLastStep)
{
    DesktopOnPaper desktop;
    desktop_ = &desktop;
    const auto ask = [](const char* name) {
        auto* question = new ZALDlgNotify(nullptr, name, ZALDlgNotifyYesNo);
        question->DisplayBlocked("", "");
        question->RequestDelayedDestruction();
    };
    observe_ = [&] {
        const Json& event = events_.back();
        if (event.at("event") == "step" && event.at("number") == 2)
            EventLoop::Current().Post([&] { ask("Early"); });
        if (event.at("event") == "step" && event.at("number") == 4)
            EventLoop::Current().Post([&] {
                ask("ReplaceAllPopUp");
                ask("Late");
                desktop.closed = true;
            });
    };
    PlaySteps(R"({"options": "open"}, {"wait": "dialog"}, {"wait": "idle"},
                           {"answer": {"dialog": "ReplaceAllPopUp", "button": 3}})");
    EXPECT_THAT(desktop.told, ElementsAre("Options", "Late"));
    EXPECT_THAT(Values("dialog", "answer"), ElementsAre(ZALDlgAnswerClosed, ZALDlgAnswerYes, ZALDlgAnswerNo));
}

TEST_F(SessionPlayerTest, ASessionWithoutStepsIsDone)
{
    PlaySteps("");
    EXPECT_EQ(Json::parse(R"({"event": "end", "status": 0})"), events_.back());
}

TEST_F(SessionPlayerTest, AModuleThatCannotBeLoadedFailsBeforeAnyStep)
{
    module_ = folder_.Path() / "missing.so";
    EXPECT_THAT(FailureOfSteps(R"({"wait": "idle"})"), HasSubstr("missing.so"));
    EXPECT_FALSE(events_.back().contains("step"));
    EXPECT_TRUE(EventsOf("step").empty());
}

TEST_F(SessionPlayerTest, AFileThatIsNoModuleFails)
{
    module_ = folder_.Path() / "text.so";
    std::ofstream(module_) << "text";
    FailureOfSteps("");
}

TEST_F(SessionPlayerTest, ADownloadBringsItsFilesAndItsNotification)
{
    PlaySteps(Download("/archive?entries=5&products=3") + R"(, {"wait": "notification"})");
    for (const char* name : {"part-000001.ZALPart", "part-000002.ZALPart", "product-000001.ZALProduct"})
        EXPECT_TRUE(std::filesystem::exists(Downloads() / name)) << name;
    EXPECT_EQ(1U, EventsOf("request").size());
    EXPECT_EQ(2, EventsOf("transfer").at(0).at("status"));
    EXPECT_EQ(5U, EventsOf("extracted").size());
    EXPECT_EQ("ZALVelmartFileDownloadCompleteNotification", EventsOf("notification").at(0).at("class"));
}

TEST_F(SessionPlayerTest, StepsAreNumberedAndNamed)
{
    PlaySteps(R"({"wait": "idle"}, {"message": "x"})");
    EXPECT_THAT(Values("step", "number"), ElementsAre(1, 2));
    EXPECT_THAT(Values("step", "key"), ElementsAre("wait", "message"));
}

TEST_F(SessionPlayerTest, WhatTheModuleAnswersIsRecordedAndFailsNoStep)
{
    PlaySteps(R"({"message": "no JSON"}, {"message": {"event": "velmart_over", "content": 0}})");
    EXPECT_THAT(Values("result", "operation"), ElementsAre("SetAccessDialog", "OnJSMessage", "OnJSMessage"));
    EXPECT_THAT(Values("result", "code"), ElementsAre("S_OK", "0x80004005", "S_OK"));
}

TEST_F(SessionPlayerTest, APageAddressReachesTheModule)
{
    PlaySteps(R"({"url": "https://elsewhere.example/"})");
    EXPECT_THAT(Values("url", "url"), ElementsAre("https://elsewhere.example/"));
    EXPECT_EQ(Json::parse(R"({"event": "result", "operation": "OnPageUrl", "code": "S_OK"})"),
              EventsOf("result").back());
}

TEST_F(SessionPlayerTest, PlaceholdersInAMessageCannotBreakItsJson)
{
    const Session session = ParseSession(R"({"steps": [{"message": {"event": "velmart_over", "content": "${TEXT}"}}]})",
                                         folder_.Path(), {{"TEXT", "\"}, broken {"}});
    const auto receive = [this](const Json& event) { events_.push_back(event); };
    EXPECT_EQ(SessionPlayer::Done, SessionPlayer(session, {module_, ""}, receive).Play());
    EXPECT_EQ("S_OK", EventsOf("result").back().at("code"));
    EXPECT_EQ(R"({"event":"velmart_over","content":"\"}, broken {"})", EventsOf("message").back().at("text"));
}

// ---------------------------------------------------------------------------------------------
// Waiting

TEST_F(SessionPlayerTest, AWaitFindsAnEventOfTheStepBefore)
{
    PlaySteps(Ready + R"(, {"wait": "notification"})");
}

TEST_F(SessionPlayerTest, AnAnswerForgetsNoEvents)
{
    PlaySteps(Ready + R"(, {"answer": {"dialog": "OverwriteNotify", "button": 1}}, {"wait": "notification"})");
}

TEST_F(SessionPlayerTest, AWaitForWhatCannotComeFailsAtOnce)
{
    const auto reason = [](const std::string& event) {
        return "no event \"" + event + "\" has come, and nothing is left that could bring it";
    };
    EXPECT_EQ(reason("transfer"), FailureOfSteps(R"({"wait": "transfer", "seconds": 86400})"));
    EXPECT_EQ(1, events_.back().at("step"));
    // One event ends one wait, and a step that acts forgets those of before.
    for (const char* again : {R"({"wait": "notification"})", R"({"message": "x"})"}) {
        EXPECT_EQ(reason("notification"), FailureOfSteps(Ready + ", " + again + R"(, {"wait": "notification"})"));
        EXPECT_EQ(3, events_.back().at("step")) << again;
    }
}

TEST_F(SessionPlayerTest, AWaitEndsAtItsLimitAlsoWhileATransferRuns)
{
    EXPECT_EQ("no event \"notification\" has come within 50 ms",
              FailureOfSteps(Slow + R"(, {"wait": "notification", "seconds": 0.05})"));
    EXPECT_EQ(2, events_.back().at("step"));
    EXPECT_EQ("the host has not become idle within 50 ms",
              FailureOfSteps(Slow + R"(, {"wait": "idle", "seconds": 0.05})"));
}

// ---------------------------------------------------------------------------------------------
// Dialogs

TEST_F(SessionPlayerTest, APushOnTheCloseBoxCancelsADownload)
{
    const std::string steps =
        Slow + R"(, {"wait": "window"}, {"push": {"dialog": "ZALVelmartDownloadProgressDlg", "control": "CLOSE"}})";
    PlaySteps(steps + R"(, {"wait": "dialog"})");
    EXPECT_THAT(Values("transfer", "status"), ElementsAre(ZALHttpStatusCancelled));
    EXPECT_THAT(Values("dialog", "name"), ElementsAre("FileDownloadErrorNotify"));
    // A session may end by it too.
    PlaySteps(steps);
    EXPECT_THAT(Values("transfer", "status"), ElementsAre(ZALHttpStatusCancelled));
    EXPECT_EQ(Json::parse(R"({"event": "end", "status": 0})"), events_.back());
}

TEST_F(SessionPlayerTest, APushOnADialogThatIsNotThereFails)
{
    EXPECT_EQ("\"OK\" of \"ZALVelmartDownloadLocationDlg\" cannot be pushed: no such dialog is shown",
              FailureOfSteps(R"({"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}})"));
}

TEST_F(SessionPlayerTest, AControlThatCannotDoWhatIsAskedFailsTheStep)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("control": "${BASE}")", "the dialog has no such control"},
        {R"("control": "${BASE}", "text": "x")", "the dialog has no such control"},
        {R"("control": "${BASE}", "state": true)", "the dialog has no such control"},
        {R"("control": "VLDownloadLocationButton", "text": "x")", "the control takes no text"},
        {R"("control": "VLDownloadLocationEditor", "state": true)", "the control has no state"},
        {R"("control": "VLDoNotRemindDownloadLocationCheckButton", "state": true)", "the control takes no input"}};
    for (const auto& [push, reason] : cases)
        EXPECT_THAT(FailureOf(R"({"settings": {"locks": {"DoNotRemindDownloadLocation": "R"}}, "steps": [
                        {"options": "open"}, {"push": {"dialog": "Options", )" +
                              std::string(push) + "}}]}"),
                    HasSubstr(reason));
}

TEST_F(SessionPlayerTest, TheLocationDialogIsFilledInAndTheDownloadGoesOn)
{
    Play(R"({"steps": [)" + OnePart + R"(, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationEditor",
                  "text": "${DOWNLOADS}"}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDoNotRemindDownloadLocationCheckButton",
                  "state": true}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}}, {"wait": "settings"},
        {"wait": "extracted"}, {"wait": "idle"}]})");
    EXPECT_TRUE(HasPart());
    const std::vector<Json> pushes = EventsOf("push");
    ASSERT_EQ(3U, pushes.size());
    EXPECT_EQ(Downloads().string(), pushes[0]["text"]);
    EXPECT_EQ(R"({"event":"push","dialog":"ZALVelmartDownloadLocationDlg",)"
              R"("control":"VLDoNotRemindDownloadLocationCheckButton","state":true})",
              pushes[1].dump());
    EXPECT_EQ(R"({"event":"push","dialog":"ZALVelmartDownloadLocationDlg","control":"OK"})", pushes[2].dump());
}

TEST_F(SessionPlayerTest, TheFolderIsChosenByTheChooser)
{
    Play(R"({"steps": [)" + OnePart + R"(, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationButton"}},
        {"push": {"dialog": "ZALVelmartDownloadDirectoryChooserDlg", "control": "FOLDER", "text": "${DOWNLOADS}"}},
        {"push": {"dialog": "ZALVelmartDownloadDirectoryChooserDlg", "control": "OK"}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}}, {"wait": "idle"}]})");
    EXPECT_TRUE(HasPart());
}

TEST_F(SessionPlayerTest, ALocationDialogThatIsLeftOpenGoesWithTheSession)
{
    Play(R"({"steps": [)" + OnePart + R"(, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationButton"}}]})");
    EXPECT_TRUE(EventsOf("extracted").empty());
}

// ---------------------------------------------------------------------------------------------
// The page of settings

TEST_F(SessionPlayerTest, ThePageOfSettingsEditsSavesAndGoesBack)
{
    const std::filesystem::path file = folder_.Path() / "settings.json";
    std::ofstream(file) << Json{{"DownloadLocation", "/before"}, {"administrator", {{"DownloadLocation", "/admin"}}}};
    Play(R"({"settingsFile": ")" + file.string() + R"(", "steps": [{"options": "open"},
        {"options": "refresh"},
        {"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "${DOWNLOADS}"}},
        {"push": {"dialog": "Options", "control": "VLDoNotRemindDownloadLocationCheckButton", "state": 262144}},
        {"options": "save"}]})");
    const auto read = [&] { return Json::parse(std::ifstream(file)); };
    EXPECT_EQ(Downloads().string(), read()["DownloadLocation"]);
    EXPECT_EQ(true, read()["DoNotRemindDownloadLocation"]);
    EXPECT_THAT(Values("result", "operation"), ElementsAre("SetAccessDialog", "CreateFrame", "Refresh", "Save"));
    EXPECT_THAT(Values("result", "code"), Each("S_OK"));
    EXPECT_EQ(3U, EventsOf("options").size());

    for (const auto& [operation, expected] :
         {std::pair("restore", Downloads().string()), std::pair("reset", std::string("/admin"))}) {
        Play(R"({"settingsFile": ")" + file.string() +
             R"(", "steps": [{"options": "open"},
            {"options": "refresh"},
            {"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "${ZALTemp}"}},
            {"options": ")" +
             operation + R"("}, {"options": "save"}]})");
        EXPECT_EQ(read()["DownloadLocation"], expected) << operation;
    }
}

TEST_F(SessionPlayerTest, ARestoreGoesBackToTheSettingsOfTheSession)
{
    Play(R"({"settings": {"DownloadLocation": "${DOWNLOADS}", "DoNotRemindDownloadLocation": true},
        "steps": [{"options": "open"},
        {"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "${ZALTemp}"}},
        {"options": "restore"}, )" +
         OnePart + R"(, {"wait": "extracted"}]})");
    EXPECT_TRUE(HasPart());
}

TEST_F(SessionPlayerTest, ThePageOfSettingsIsOpenedOnceAndBeforeItsOperations)
{
    EXPECT_EQ("the options are not open", FailureOfSteps(R"({"options": "refresh"})"));
    EXPECT_EQ("the options are open already", FailureOfSteps(R"({"options": "open"}, {"options": "open"})"));
}

TEST_F(SessionPlayerTest, ASaveThatFailsIsAResultAndFailsNoStep)
{
    const std::filesystem::path file = folder_.Path() / "settings.json";
    std::ofstream(file) << "{}";
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    Play(R"({"settingsFile": ")" + file.string() + R"(", "steps": [{"options": "open"},
                      {"options": "save"}]})");
    EXPECT_EQ("0x80004005", EventsOf("result").back()["code"]);
    EXPECT_EQ("failed", EventsOf("settings").at(0)["action"]);
}

TEST_F(SessionPlayerTest, AQuestionTakesItsAnswersInOrderAndIsClosedWithoutOne)
{
    std::ofstream(Downloads() / "part-000001.ZALPart") << "old";
    const std::string download = OnePart + R"(, {"wait": "notification"})";
    PlaySteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 3}}, )" + download + ", " + download);
    EXPECT_THAT(Values("dialog", "name"), ElementsAre("OverwriteNotify", "OverwriteNotify"));
    EXPECT_THAT(Values("dialog", "answer"), ElementsAre(3, 0));
    EXPECT_FALSE(events_.back().contains("unusedAnswers"));
}

TEST_F(SessionPlayerTest, AnswersThatNoDialogUsedAreCounted)
{
    PlaySteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 3}})");
    EXPECT_EQ(1, events_.back().at("unusedAnswers"));
}

TEST_F(SessionPlayerTest, AFailedReplyIsToldToTheUser)
{
    PlaySteps(Download("/archive?entries=1&cut=10") + R"(, {"wait": "dialog"})");
    EXPECT_THAT(Values("transfer", "status"), ElementsAre(ZALHttpStatusFailed));
    EXPECT_THAT(Values("dialog", "name"), ElementsAre("FileDownloadErrorNotify"));
}

// ---------------------------------------------------------------------------------------------
// What a session settles

TEST_F(SessionPlayerTest, TheEnvironmentIsChangedForTheSessionOnly)
{
    ::setenv("OPENHOST_TEST_GONE", "before", 1);
    ::unsetenv("OPENHOST_TEST_SET");
    std::vector<std::string> seen;
    observe_ = [&] {
        const char* set = ::getenv("OPENHOST_TEST_SET");
        seen.push_back(std::string(set ? set : "none") + (::getenv("OPENHOST_TEST_GONE") ? ", there" : ", gone"));
    };
    Play(R"({"environment": {"OPENHOST_TEST_SET": "at ${BASE}", "OPENHOST_TEST_GONE": null}, "steps": []})");
    EXPECT_EQ("at " + service_.GetAddress() + ", gone", seen.front());
    EXPECT_EQ("none, there", seen.back());
    EXPECT_STREQ(::getenv("OPENHOST_TEST_GONE"), "before");
    EXPECT_EQ(nullptr, ::getenv("OPENHOST_TEST_SET"));
}

TEST_F(SessionPlayerTest, PathVariablesCountFromTheFolderOfTheSession)
{
    std::filesystem::create_directory(folder_.Path() / "temporary");
    Play(R"({"variables": {"ZALTemp": "temporary"},
                       "settings": {"DownloadLocation": "${ZALTemp}", "DoNotRemindDownloadLocation": true},
                       "steps": [)" +
         OnePart + R"(, {"wait": "notification"}]})");
    EXPECT_TRUE(std::filesystem::exists(folder_.Path() / "temporary" / "VelmartDownloadedQ7Files.zip"));
    EXPECT_TRUE(std::filesystem::exists(folder_.Path() / "temporary" / "part-000001.ZALPart"));
}

TEST_F(SessionPlayerTest, TemporaryFilesAndInstallationHaveAPlaceByDefault)
{
    std::filesystem::path temporary;
    std::filesystem::path installation;
    observe_ = [&] {
        if (!temporary.empty())
            return;
        temporary = GetPathVariable(TemporaryFolderVariable);
        installation = GetPathVariable(InstallationVariable);
        EXPECT_TRUE(std::filesystem::is_directory(temporary));
    };
    ::unsetenv(InstallationVariable);
    PlaySteps("");
    EXPECT_FALSE(temporary.empty());
    EXPECT_FALSE(std::filesystem::exists(temporary));
    EXPECT_EQ(folder_.Path() / "installation", installation);
    EXPECT_EQ("", GetPathVariable(InstallationVariable));
}

TEST_F(SessionPlayerTest, WhatAKilledHostHasLeftAmongDownloadsIsCleared)
{
    const std::filesystem::path left = Downloads() / ".openhost-4711-1";
    std::filesystem::create_directories(left);
    std::filesystem::last_write_time(left, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    Play(R"({"settings": {"DownloadLocation": "${DOWNLOADS}"}, "steps": []})");
    EXPECT_FALSE(std::filesystem::exists(left));
    EXPECT_TRUE(std::filesystem::exists(Downloads()));
}

TEST_F(SessionPlayerTest, SettingsAndLocksHoldForTheSession)
{
    bool locked = false;
    std::string folder;
    observe_ = [&] {
        locked = locked || SettingsStore::Current().IsLocked(SettingsStore::DownloadLocation);
        folder += SettingsStore::Current().Values().downloadLocation == Downloads().c_str() ? "d" : "-";
    };
    Play(R"({"settings": {"DownloadLocation": "${DOWNLOADS}", "locks": {"DownloadLocation": "R"}},
                       "steps": []})");
    EXPECT_TRUE(locked);
    EXPECT_EQ('d', folder.front());
    EXPECT_EQ('-', folder.back());
    EXPECT_FALSE(SettingsStore::Current().IsLocked(SettingsStore::DownloadLocation));
}

TEST_F(SessionPlayerTest, SettingsComeFromAFile)
{
    std::ofstream(folder_.Path() / "settings.json")
        << Json{{"DownloadLocation", Downloads().string()}, {"DoNotRemindDownloadLocation", true}};
    Play(R"({"settingsFile": "settings.json", "steps": [)" + OnePart + R"(, {"wait": "notification"}]})");
    EXPECT_TRUE(HasPart());
}

TEST_F(SessionPlayerTest, SettingsThatAreDamagedOrAFolderFailTheSession)
{
    const std::string session = R"({"settingsFile": "settings.json", "steps": []})";
    const std::filesystem::path file = folder_.Path() / "settings.json";
    std::ofstream(file) << "{";
    EXPECT_THAT(FailureOf(session), HasSubstr("settings.json"));
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_THAT(FailureOf(session), HasSubstr("settings.json"));
    EXPECT_TRUE(std::filesystem::is_directory(file));
}

TEST_F(SessionPlayerTest, ASaveThatCannotBeWrittenFailsItsStepAndLosesNothing)
{
    const std::filesystem::path top = WriteProduct("top.ZALProduct");
    const CadDocument document = ReadDocument(top);
    std::ofstream(folder_.Path() / "file") << "a file";
    for (const char* place : {"file/new.ZALProduct", "none/new.ZALProduct", "new.ZALPart", "downloads"}) {
        EXPECT_THAT(FailureOf(R"({"documents": ["top.ZALProduct"],
                           "steps": [{"save": "top.ZALProduct", "as": ")" +
                              std::string(place) + "\"}]}"),
                    HasSubstr(place));
        EXPECT_EQ(1, events_.back()["step"]);
        EXPECT_EQ(document, ReadDocument(top)) << place;
    }
}

TEST_F(SessionPlayerTest, DocumentsAreOpenedAndMadeOnTheWay)
{
    WriteProduct("top.ZALProduct");
    Play(R"({"steps": [{"new": "sub.ZALProduct"}, {"open": "top.ZALProduct"}, {"open": "sub.ZALProduct"},
             {"new": "named.ZALProduct", "partNumber": "NAMED"}]})");
    EXPECT_THAT(Values("document", "action"), ElementsAre("opened", "opened", "activated", "opened"));
    EXPECT_EQ("sub", ReadDocument(folder_.Path() / "sub.ZALProduct").partNumber);
    EXPECT_EQ("NAMED", ReadDocument(folder_.Path() / "named.ZALProduct").partNumber);
    for (const char* step : {R"({"new": "top.ZALProduct"})", R"({"new": "none/top.ZALProduct"})",
                             R"({"new": "top.ZALPart"})", R"({"open": "none.ZALProduct"})"})
        EXPECT_NE("", FailureOf(std::string(R"({"steps": [)") + step + "]}")) << step;
}

TEST_F(SessionPlayerTest, EachStepIsUndoneAloneAndDoneAgain)
{
    WriteProduct("sub.ZALProduct");
    CadDocument top;
    top.kind = DocumentKind::Product;
    top.partNumber = "TOP";
    top.links = {"sub.ZALProduct"};
    top.children = {{"a", 0, IdentityPlacement}};
    WriteDocument(top, folder_.Path() / "top.ZALProduct");
    const std::string steps = R"("steps": [{"move": "TOP/a", "at": [1, 0, 0]}, {"move": "TOP/a", "at": [2, 0, 0]},
        {"undo": true}, {"tree": "top.ZALProduct"}, {"undo": true}, {"tree": "top.ZALProduct"},
        {"redo": true}, {"redo": true}, {"tree": "top.ZALProduct"})";
    Play(R"({"documents": ["top.ZALProduct"], )" + steps + ", {\"undo\": true}, {\"undo\": true}]}");
    std::vector<double> places;
    for (const Json& tree : EventsOf("tree"))
        places.push_back(tree["root"]["children"][0]["at"][0]);
    EXPECT_THAT(places, ElementsAre(1, 0, 2));
    EXPECT_THAT(Values("document", "action"), ElementsAre("opened", "changed", "changed", "undone", "undone", "redone",
                                                          "redone", "undone", "undone"));
    EXPECT_FALSE(events_.back().contains("unsavedDocuments"));
    EXPECT_EQ("there is nothing to redo",
              FailureOf(R"({"documents": ["top.ZALProduct"], )" + steps + ", {\"redo\": true}]}"));
    EXPECT_EQ("there is nothing to undo", FailureOf(R"({"steps": [{"undo": true}]})"));
}

TEST_F(SessionPlayerTest, WithoutAFrameADownloadHasNoWindow)
{
    Play(R"({"frame": false, )" + WithSteps(OnePart + R"(, {"wait": "notification"})").substr(1));
    EXPECT_TRUE(EventsOf("window").empty());
}

TEST_F(SessionPlayerTest, TheWorkshopIsTheFramesAndTheFrameEnds)
{
    std::string workshop;
    observe_ = [&] {
        if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
            workshop = frame->GetCurrentWorkshop().CastToCharPtr();
    };
    Play(R"({"workshop": "PartWorkshop", "steps": []})");
    EXPECT_EQ("PartWorkshop", workshop);
    EXPECT_EQ(nullptr, ZALApplicationFrame::GetFrame());
}

TEST_F(SessionPlayerTest, OpenDocumentsGiveAnEditorAndTheLastIsActive)
{
    bool editor = false;
    observe_ = [&] { editor = editor || ZALFrmEditor::GetCurrentEditor(); };
    PlaySteps("");
    EXPECT_FALSE(editor);

    const std::filesystem::path first = WriteProduct("a.ZALProduct");
    const std::filesystem::path last = WriteProduct("b.ZALProduct");
    Play(R"({"documents": ["a.ZALProduct", "b.ZALProduct"], "steps": []})");
    EXPECT_TRUE(editor);
    EXPECT_THAT(Values("document", "path"), ElementsAre(first.string(), last.string()));
    EXPECT_THAT(Values("document", "action"), Each("opened"));
}

TEST_F(SessionPlayerTest, ADocumentThatIsMissingOrNoneFailsTheSession)
{
    std::ofstream(folder_.Path() / "text.ZALPart") << "text";
    for (const std::string name : {"missing.ZALPart", "text.ZALPart"})
        EXPECT_THAT(FailureOf(R"({"documents": [")" + name + R"("], "steps": []})"), HasSubstr(name));
}

TEST_F(SessionPlayerTest, TracesComeWhenTheSessionAsksForThem)
{
    const std::string steps = R"("steps": [{"message": {"event": "velmart_over", "content": 0}}]})";
    Play("{" + steps);
    EXPECT_TRUE(EventsOf("trace").empty());
    Play("{\"traces\": true, " + steps);
    EXPECT_THAT(EventsOf("trace"),
                Contains(Json{{"event", "trace"},
                              {"name", "ZALVelmartIntegration"},
                              {"text", "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_over"}}));
    Play("{" + steps);
    EXPECT_TRUE(EventsOf("trace").empty());
}

TEST_F(SessionPlayerTest, ASecondSessionOfTheProcessKnowsNothingOfTheFirst)
{
    PlaySteps(Slow);
    // The module takes one download at a time.
    PlaySteps(OnePart + R"(, {"wait": "notification"})");
    EXPECT_TRUE(HasPart());
}

TEST_F(SessionPlayerTest, TheJournalGoesBackToWhereItWent)
{
    int lines = 0;
    journal::Redirect([&](const Json&) { ++lines; });
    PlaySteps("");
    journal::Send({{"event", "after"}});
    journal::Redirect({});
    EXPECT_EQ(1, lines);
}

// ---------------------------------------------------------------------------------------------
// Panel and commands

TEST_F(SessionPlayerTest, ThePanelIsOpenAtTheStartAndCanBeClosedAndOpened)
{
    PlaySteps(R"({"panel": "close"}, {"panel": "open"}, {"panel": "open"},
                           {"message": {"event": "velmart_over", "content": {}}})");
    EXPECT_THAT(Values("panel", "action"), ElementsAre("opened", "closed", "opened", "closed"));
    EXPECT_THAT(Values("result", "operation"), ElementsAre("SetAccessDialog", "SetAccessDialog", "OnJSMessage"));
    EXPECT_THAT(EventsOf("notification"),
                Contains(Json::parse(R"({"event": "notification", "class": "ZALDlgWindCloseNotification",
                                         "publisher": "PanelEvents"})")));
}

TEST_F(SessionPlayerTest, AMessageAndAPageAndACloseNeedAPanel)
{
    for (const char* step : {R"({"message": "{}"})", R"({"url": "http://a/"})", R"({"panel": "close"})"}) {
        EXPECT_EQ("the panel is closed", FailureOfSteps(std::string(R"({"panel": "close"}, )") + step)) << step;
    }
}

TEST_F(SessionPlayerTest, APageOfTheCatalogueGetsTheScriptOfTheInstallation)
{
    const std::filesystem::path webapp = folder_.Path() / "installation" / "webapps" / "ZALVelmartIntegrationJS";
    std::filesystem::create_directories(webapp);
    std::ofstream(webapp / "OpApiHandlers.js") << "connect('%USAGE_CONTEXT%');";
    PlaySteps(R"({"url": "https://velmart.example/"})");
    EXPECT_THAT(Values("script", "text"), ElementsAre("connect('SidePanel');"));
}

TEST_F(SessionPlayerTest, ACommandIsStartedAsAUserDoes)
{
    EXPECT_EQ("there is no command \"Unknown\"", FailureOfSteps(R"({"command": "Unknown"})"));

    EXPECT_EQ("the command \"ZALVelmartFindSimilarCmd\" is not available",
              FailureOfSteps(R"({"command": "ZALVelmartFindSimilarCmd"})"));

    PlaySteps(Ready + R"(, {"command": "ZALVelmartFindSimilarCmd"}, {"wait": "dialog"}, {"wait": "idle"})");
    EXPECT_THAT(Values("dialog", "name"), ElementsAre("FileDownloadErrorNotify")); // nothing is selected
    EXPECT_THAT(Values("command", "action"), ElementsAre("begun", "ended"));
}

TEST_F(SessionPlayerTest, AHighlightedElementIsWhatACommandWorksOn)
{
    CadDocument part;
    part.partNumber = "BOLT";
    WriteDocument(part, folder_.Path() / "bolt.ZALPart");
    const std::string session = R"({"documents": ["bolt.ZALPart"], "traces": true, "steps": [
        {"message": {"event": "velmart_ready", "content": {"searchByUploadUrl": "${BASE}/upload"}}},
        {"highlight": "NAME"}, {"command": "ZALVelmartFindSimilarCmd"}, {"wait": "idle"}]})";
    const auto highlighting = [](std::string text, const std::string& name) {
        return text.replace(text.find("NAME"), 4, name);
    };
    Play(highlighting(session, "BOLT"));
    EXPECT_EQ("BOLT", EventsOf("highlight").at(0)["element"]);
    ASSERT_GE(EventsOf("dialog").size(), 1U);
    EXPECT_EQ("UploadWarningPopup", EventsOf("dialog")[0]["name"]); // it has its selection

    EXPECT_EQ("the active document has no \"NUT\"", FailureOf(highlighting(session, "NUT")));
}

} // namespace openhost
