#include "openhost/play/SessionPlayer.h"

#include "catalogue/service/CatalogueService.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/UvEventLoop.h"
#include "openhost/panel/Panel.h"
#include "openhost/panel/RecordedPage.h"
#include "openhost/play/SessionFile.h"
#include "openhost/settings/SettingsStore.h"

#include "host/frame.h"

#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>

#include <stdlib.h>

namespace openhost {

using Json = nlohmann::ordered_json;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Plays sessions with the real module, against a real service.
class SessionPlayerTest : public ::testing::Test {
protected:
    SessionPlayerTest() : service_(service_folder_.Path())
    {
        service_.Start();
        std::filesystem::create_directory(Downloads());
    }

    std::filesystem::path Downloads() const { return folder_.Path() / "downloads"; }

    /// Plays the session `text`. "${BASE}" is the address of the service, "${DOWNLOADS}" an empty folder.
    int Play(const std::string& text)
    {
        const Session session =
            ParseSession(text, folder_.Path(), {{"BASE", service_.GetAddress()}, {"DOWNLOADS", Downloads().string()}});
        events_.clear();
        const journal::Sink receive = [this](const Json& event) {
            events_.push_back(event);
            observe_();
        };
        return SessionPlayer(session, {module_, folder_.Path() / "installation", desktop_}, receive).Play();
    }

    /// Plays `steps` with the folder of downloads settled.
    int PlaySteps(const std::string& steps)
    {
        return Play(R"({"settings": {"DownloadLocation": "${DOWNLOADS}", "DoNotRemindDownloadLocation": true},
                        "steps": [)" +
                    steps + "]}");
    }

    /// A step that downloads what `path` of the service gives.
    static std::string Download(const std::string& path)
    {
        return R"({"message": {"event": "velmart_download", "content": {"downloadUrl": "${BASE})" + path + "\"}}}";
    }

    /// The events named `name`.
    std::vector<Json> EventsOf(const std::string& name) const
    {
        std::vector<Json> found;
        std::copy_if(events_.begin(), events_.end(), std::back_inserter(found),
                     [&](const Json& event) { return event.at("event") == name; });
        return found;
    }

    std::string Reason() const { return events_.back().value("reason", ""); }

    TemporaryFolder service_folder_;
    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
    std::filesystem::path module_ = BuildDir() + "/lib/ZALVelmartIntegration.so";
    Desktop* desktop_ = nullptr;
    std::function<void()> observe_ = [] {};
    std::vector<Json> events_;
};

/// A desktop that somebody is said to see. Its user answers No.
class DesktopOnPaper : public Desktop {
public:
    bool HasDisplay() const override { return true; }
    std::unique_ptr<EventLoop> MakeLoop() override { return std::make_unique<UvEventLoop>(); }
    std::unique_ptr<DialogSurface> MakeDialogs() override { return std::make_unique<Dialogs>(told); }
    std::unique_ptr<PanelPages> MakePages() override { return std::make_unique<RecordedPages>(); }

    std::vector<std::string> told;

private:
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

TEST_F(SessionPlayerTest, WithADisplayWindowsAreShownAndTheUserAnswersBehindTheLastStep)
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
                ask("Kept");
                ask("Late");
                Panel::Close();
            });
    };
    EXPECT_EQ(PlaySteps(R"({"options": "open"}, {"wait": "dialog"}, {"wait": "idle"},
                           {"answer": {"dialog": "Kept", "button": 3}})"),
              SessionPlayer::Done);
    EXPECT_THAT(desktop.told, ElementsAre("Options", "Late"));
    ASSERT_EQ(EventsOf("dialog").size(), 3U);
    EXPECT_EQ(EventsOf("dialog")[0].at("answer"), ZALDlgAnswerClosed);
    EXPECT_EQ(EventsOf("dialog")[1].at("answer"), ZALDlgAnswerYes);
    EXPECT_EQ(EventsOf("dialog")[2].at("answer"), ZALDlgAnswerNo);
}

TEST_F(SessionPlayerTest, ASessionWithoutStepsIsDone)
{
    EXPECT_EQ(PlaySteps(""), SessionPlayer::Done);
    EXPECT_EQ(events_.back(), Json::parse(R"({"event": "end", "status": 0})"));
}

TEST_F(SessionPlayerTest, AModuleThatCannotBeLoadedFailsBeforeAnyStep)
{
    module_ = folder_.Path() / "missing.so";
    EXPECT_EQ(PlaySteps(R"({"wait": "idle"})"), SessionPlayer::Failed);
    EXPECT_THAT(Reason(), HasSubstr("missing.so"));
    EXPECT_FALSE(events_.back().contains("step"));
    EXPECT_TRUE(EventsOf("step").empty());
}

TEST_F(SessionPlayerTest, AFileThatIsNoModuleFails)
{
    module_ = folder_.Path() / "text.so";
    std::ofstream(module_) << "text";
    EXPECT_EQ(PlaySteps(""), SessionPlayer::Failed);
}

TEST_F(SessionPlayerTest, ADownloadBringsItsFilesAndItsNotification)
{
    EXPECT_EQ(PlaySteps(Download("/archive?entries=5&products=3") + R"(, {"wait": "notification"})"),
              SessionPlayer::Done);
    for (const char* name : {"part-000001.ZALPart", "part-000002.ZALPart", "product-000001.ZALProduct"})
        EXPECT_TRUE(std::filesystem::exists(Downloads() / name)) << name;
    EXPECT_EQ(EventsOf("request").size(), 1U);
    EXPECT_EQ(EventsOf("transfer").at(0).at("status"), 2);
    EXPECT_EQ(EventsOf("extracted").size(), 5U);
    EXPECT_EQ(EventsOf("notification").at(0).at("class"), "ZALVelmartFileDownloadCompleteNotification");
}

TEST_F(SessionPlayerTest, StepsAreNumberedAndNamed)
{
    EXPECT_EQ(PlaySteps(R"({"wait": "idle"}, {"message": "x"})"), SessionPlayer::Done);
    EXPECT_EQ(EventsOf("step"), (std::vector<Json>{{{"event", "step"}, {"number", 1}, {"key", "wait"}},
                                                   {{"event", "step"}, {"number", 2}, {"key", "message"}}}));
}

TEST_F(SessionPlayerTest, WhatTheModuleAnswersIsRecordedAndFailsNoStep)
{
    EXPECT_EQ(PlaySteps(R"({"message": "no JSON"}, {"message": {"event": "velmart_over", "content": 0}})"),
              SessionPlayer::Done);
    EXPECT_EQ(EventsOf("result").at(1), Json::parse(R"({"event": "result", "operation": "OnJSMessage",
                                                        "code": "0x80004005"})"));
    EXPECT_EQ(EventsOf("result").at(2).at("code"), "S_OK");
}

TEST_F(SessionPlayerTest, APageAddressReachesTheModule)
{
    EXPECT_EQ(PlaySteps(R"({"url": "https://elsewhere.example/"})"), SessionPlayer::Done);
    EXPECT_EQ(EventsOf("url").back().at("url"), "https://elsewhere.example/");
    EXPECT_EQ(EventsOf("result").back().at("operation"), "OnPageUrl");
    EXPECT_EQ(EventsOf("result").back().at("code"), "S_OK");
}

TEST_F(SessionPlayerTest, PlaceholdersInAMessageCannotBreakItsJson)
{
    const Session session = ParseSession(R"({"steps": [{"message": {"event": "velmart_over", "content": "${TEXT}"}}]})",
                                         folder_.Path(), {{"TEXT", "\"}, broken {"}});
    const auto receive = [this](const Json& event) { events_.push_back(event); };
    EXPECT_EQ(SessionPlayer(session, {module_, ""}, receive).Play(), SessionPlayer::Done);
    EXPECT_EQ(EventsOf("result").back().at("code"), "S_OK");
    EXPECT_EQ(EventsOf("message").back().at("text"), R"({"event":"velmart_over","content":"\"}, broken {"})");
}

// ---------------------------------------------------------------------------------------------
// Waiting

TEST_F(SessionPlayerTest, AWaitFindsAnEventOfTheStepBefore)
{
    EXPECT_EQ(PlaySteps(R"({"message": {"event": "velmart_ready", "content": {}}}, {"wait": "notification"})"),
              SessionPlayer::Done);
}

TEST_F(SessionPlayerTest, OneEventEndsOneWait)
{
    EXPECT_EQ(PlaySteps(R"({"message": {"event": "velmart_ready", "content": {}}},
                           {"wait": "notification"}, {"wait": "notification"})"),
              SessionPlayer::Failed);
    EXPECT_EQ(events_.back().at("step"), 3);
}

TEST_F(SessionPlayerTest, AStepThatActsForgetsTheEventsOfBefore)
{
    EXPECT_EQ(PlaySteps(R"({"message": {"event": "velmart_ready", "content": {}}}, {"message": "x"},
                           {"wait": "notification"})"),
              SessionPlayer::Failed);
}

TEST_F(SessionPlayerTest, AnAnswerForgetsNoEvents)
{
    EXPECT_EQ(PlaySteps(R"({"message": {"event": "velmart_ready", "content": {}}},
                           {"answer": {"dialog": "d", "button": 1}}, {"wait": "notification"})"),
              SessionPlayer::Done);
}

TEST_F(SessionPlayerTest, AWaitForWhatCannotComeFailsAtOnce)
{
    EXPECT_EQ(PlaySteps(R"({"wait": "transfer", "seconds": 86400})"), SessionPlayer::Failed);
    EXPECT_EQ(events_.back(), Json::parse(R"({"event": "end", "status": 1, "step": 1, "reason":
        "no event \"transfer\" has come, and nothing is left that could bring it"})"));
}

TEST_F(SessionPlayerTest, AWaitEndsAtItsLimitAlsoWhileATransferRuns)
{
    EXPECT_EQ(PlaySteps(Download("/archive?entries=100&piece=1&pause=600000") +
                        R"(, {"wait": "notification", "seconds": 0.05})"),
              SessionPlayer::Failed);
    EXPECT_EQ(events_.back().at("step"), 2);
    EXPECT_EQ(Reason(), "no event \"notification\" has come within 50 ms");
}

TEST_F(SessionPlayerTest, AWaitForIdleEndsAtItsLimit)
{
    EXPECT_EQ(
        PlaySteps(Download("/archive?entries=100&piece=1&pause=600000") + R"(, {"wait": "idle", "seconds": 0.05})"),
        SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "the host has not become idle within 50 ms");
}

// ---------------------------------------------------------------------------------------------
// Dialogs

TEST_F(SessionPlayerTest, APushOnTheCloseBoxCancelsADownload)
{
    EXPECT_EQ(PlaySteps(Download("/archive?entries=100&piece=1&pause=600000") + R"(, {"wait": "window"},
                        {"push": {"dialog": "ZALVelmartDownloadProgressDlg", "control": "CLOSE"}},
                        {"wait": "dialog"})"),
              SessionPlayer::Done);
    EXPECT_EQ(EventsOf("transfer").at(0).at("status"), 4);
    EXPECT_EQ(EventsOf("dialog").at(0).at("name"), "FileDownloadErrorNotify");
}

TEST_F(SessionPlayerTest, ASessionMayEndByClosingTheProgressWindowOfARunningTransfer)
{
    EXPECT_EQ(PlaySteps(Download("/archive?entries=100&piece=1&pause=600000") + R"(, {"wait": "window"},
                        {"push": {"dialog": "ZALVelmartDownloadProgressDlg", "control": "CLOSE"}})"),
              SessionPlayer::Done);
    ASSERT_EQ(EventsOf("transfer").size(), 1U);
    EXPECT_EQ(EventsOf("transfer")[0].at("status"), 4);
    EXPECT_EQ(events_.back(), Json::parse(R"({"event": "end", "status": 0})"));
}

TEST_F(SessionPlayerTest, APushOnADialogThatIsNotThereFails)
{
    EXPECT_EQ(PlaySteps(R"({"push": {"dialog": "None", "control": "OK"}})"), SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "\"OK\" of \"None\" cannot be pushed: no such dialog is shown");
}

TEST_F(SessionPlayerTest, AControlThatCannotDoWhatIsAskedFailsTheStep)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("control": "None")", "the dialog has no such control"},
        {R"("control": "OK")", "the dialog has no such control"},
        {R"("control": "VLDownloadLocationLabel")", "the dialog has no such control"},
        {R"("control": "None", "text": "x")", "the dialog has no such control"},
        {R"("control": "None", "state": true)", "the dialog has no such control"},
        {R"("control": "VLDownloadLocationButton", "text": "x")", "the control takes no text"},
        {R"("control": "VLDownloadLocationEditor", "state": true)", "the control has no state"},
        {R"("control": "VLDoNotRemindDownloadLocationCheckButton", "state": true)", "the control takes no input"}};
    for (const auto& [push, reason] : cases) {
        EXPECT_EQ(Play(R"({"settings": {"locks": {"DoNotRemindDownloadLocation": "R"}}, "steps": [{"options": "open"},
                           {"push": {"dialog": "Options", )" +
                       std::string(push) + "}}]}"),
                  SessionPlayer::Failed);
        EXPECT_NE(Reason().find(reason), std::string::npos) << Reason();
    }
}

TEST_F(SessionPlayerTest, TheLocationDialogIsFilledInAndTheDownloadGoesOn)
{
    EXPECT_EQ(Play(R"({"steps": [)" + Download("/archive?entries=1") + R"(, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationEditor",
                  "text": "${DOWNLOADS}"}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDoNotRemindDownloadLocationCheckButton",
                  "state": true}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}}, {"wait": "settings"},
        {"wait": "extracted"}, {"wait": "idle"}]})"),
              SessionPlayer::Done)
        << Reason();
    EXPECT_TRUE(std::filesystem::exists(Downloads() / "part-000001.ZALPart"));
    const std::vector<Json> pushes = EventsOf("push");
    ASSERT_EQ(pushes.size(), 3U);
    EXPECT_EQ(pushes[0]["text"], Downloads().string());
    EXPECT_EQ(pushes[1].dump(), R"({"event":"push","dialog":"ZALVelmartDownloadLocationDlg",)"
                                R"("control":"VLDoNotRemindDownloadLocationCheckButton","state":true})");
    EXPECT_EQ(pushes[2].dump(), R"({"event":"push","dialog":"ZALVelmartDownloadLocationDlg","control":"OK"})");
}

TEST_F(SessionPlayerTest, TheFolderIsChosenByTheChooser)
{
    EXPECT_EQ(Play(R"({"steps": [)" + Download("/archive?entries=1") + R"(, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationButton"}},
        {"push": {"dialog": "ZALVelmartDownloadDirectoryChooserDlg", "control": "FOLDER", "text": "${DOWNLOADS}"}},
        {"push": {"dialog": "ZALVelmartDownloadDirectoryChooserDlg", "control": "OK"}},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}}, {"wait": "idle"}]})"),
              SessionPlayer::Done)
        << Reason();
    EXPECT_TRUE(std::filesystem::exists(Downloads() / "part-000001.ZALPart"));
}

TEST_F(SessionPlayerTest, ALocationDialogThatIsLeftOpenGoesWithTheSession)
{
    EXPECT_EQ(Play(R"({"steps": [)" + Download("/archive?entries=1") + R"(, {"wait": "transfer"},
        {"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "VLDownloadLocationButton"}}]})"),
              SessionPlayer::Done)
        << Reason();
    EXPECT_TRUE(EventsOf("extracted").empty());
}

// ---------------------------------------------------------------------------------------------
// The page of settings

TEST_F(SessionPlayerTest, ThePageOfSettingsEditsSavesAndGoesBack)
{
    const std::filesystem::path file = folder_.Path() / "settings.json";
    std::ofstream(file) << Json{{"DownloadLocation", "/before"}, {"administrator", {{"DownloadLocation", "/admin"}}}};
    EXPECT_EQ(Play(R"({"settingsFile": ")" + file.string() + R"(", "steps": [{"options": "open"},
        {"options": "refresh"},
        {"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "${DOWNLOADS}"}},
        {"push": {"dialog": "Options", "control": "VLDoNotRemindDownloadLocationCheckButton", "state": 262144}},
        {"options": "save"}]})"),
              SessionPlayer::Done)
        << Reason();
    const auto read = [&] { return Json::parse(std::ifstream(file)); };
    EXPECT_EQ(read()["DownloadLocation"], Downloads().string());
    EXPECT_EQ(read()["DoNotRemindDownloadLocation"], true);
    std::vector<std::string> results;
    for (const Json& result : EventsOf("result"))
        results.push_back(result["operation"].get<std::string>() + " " + result["code"].get<std::string>());
    EXPECT_EQ(results,
              (std::vector<std::string>{"SetAccessDialog S_OK", "CreateFrame S_OK", "Refresh S_OK", "Save S_OK"}));
    EXPECT_EQ(EventsOf("options").size(), 3U);

    for (const auto& [operation, expected] :
         {std::pair("restore", Downloads().string()), std::pair("reset", std::string("/admin"))}) {
        EXPECT_EQ(Play(R"({"settingsFile": ")" + file.string() + R"(", "steps": [{"options": "open"},
            {"options": "refresh"},
            {"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "${ZALTemp}"}},
            {"options": ")" +
                       operation + R"("}, {"options": "save"}]})"),
                  SessionPlayer::Done)
            << Reason();
        EXPECT_EQ(read()["DownloadLocation"], expected) << operation;
    }
}

TEST_F(SessionPlayerTest, ARestoreGoesBackToTheSettingsOfTheSession)
{
    EXPECT_EQ(Play(R"({"settings": {"DownloadLocation": "${DOWNLOADS}", "DoNotRemindDownloadLocation": true},
        "steps": [{"options": "open"},
        {"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "${ZALTemp}"}},
        {"options": "restore"}, )" +
                   Download("/archive?entries=1") + R"(, {"wait": "extracted"}]})"),
              SessionPlayer::Done)
        << Reason();
    EXPECT_TRUE(std::filesystem::exists(Downloads() / "part-000001.ZALPart"));
}

TEST_F(SessionPlayerTest, ThePageOfSettingsIsOpenedOnceAndBeforeItsOperations)
{
    EXPECT_EQ(PlaySteps(R"({"options": "refresh"})"), SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "the options are not open");
    EXPECT_EQ(PlaySteps(R"({"options": "open"}, {"options": "open"})"), SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "the options are open already");
}

TEST_F(SessionPlayerTest, ASaveThatFailsIsAResultAndFailsNoStep)
{
    const std::filesystem::path file = folder_.Path() / "settings.json";
    std::ofstream(file) << "{}";
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_EQ(Play(R"({"settingsFile": ")" + file.string() + R"(", "steps": [{"options": "open"},
                      {"options": "save"}]})"),
              SessionPlayer::Done);
    EXPECT_EQ(EventsOf("result").back()["code"], "0x80004005");
    EXPECT_EQ(EventsOf("settings").at(0)["action"], "failed");
}

TEST_F(SessionPlayerTest, AQuestionTakesItsAnswersInOrderAndIsClosedWithoutOne)
{
    std::ofstream(Downloads() / "part-000001.ZALPart") << "old";
    const std::string download = Download("/archive?entries=1") + R"(, {"wait": "notification"})";
    EXPECT_EQ(PlaySteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 3}}, )" + download + ", " + download),
              SessionPlayer::Done);
    ASSERT_EQ(EventsOf("dialog").size(), 2U);
    EXPECT_EQ(EventsOf("dialog").at(0).at("name"), "OverwriteNotify");
    EXPECT_EQ(EventsOf("dialog").at(0).at("answer"), 3);
    EXPECT_EQ(EventsOf("dialog").at(1).at("answer"), 0);
    EXPECT_FALSE(events_.back().contains("unusedAnswers"));
}

TEST_F(SessionPlayerTest, AnswersThatNoDialogUsedAreCounted)
{
    EXPECT_EQ(PlaySteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 3}})"), SessionPlayer::Done);
    EXPECT_EQ(events_.back().at("unusedAnswers"), 1);
}

TEST_F(SessionPlayerTest, AFailedReplyIsToldToTheUser)
{
    EXPECT_EQ(PlaySteps(Download("/archive?entries=1&cut=10") + R"(, {"wait": "dialog"})"), SessionPlayer::Done);
    EXPECT_EQ(EventsOf("transfer").at(0).at("status"), 3);
    EXPECT_EQ(EventsOf("dialog").at(0).at("name"), "FileDownloadErrorNotify");
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
    EXPECT_EQ(Play(R"({"environment": {"OPENHOST_TEST_SET": "at ${BASE}", "OPENHOST_TEST_GONE": null}, "steps": []})"),
              SessionPlayer::Done);
    EXPECT_EQ(seen.front(), "at " + service_.GetAddress() + ", gone");
    EXPECT_EQ(seen.back(), "none, there");
    EXPECT_STREQ(::getenv("OPENHOST_TEST_GONE"), "before");
    EXPECT_EQ(::getenv("OPENHOST_TEST_SET"), nullptr);
}

TEST_F(SessionPlayerTest, PathVariablesCountFromTheFolderOfTheSession)
{
    std::filesystem::create_directory(folder_.Path() / "temporary");
    EXPECT_EQ(Play(R"({"variables": {"ZALTemp": "temporary"},
                       "settings": {"DownloadLocation": "${ZALTemp}", "DoNotRemindDownloadLocation": true},
                       "steps": [)" +
                   Download("/archive?entries=1") + R"(, {"wait": "notification"}]})"),
              SessionPlayer::Done);
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
    EXPECT_EQ(PlaySteps(""), SessionPlayer::Done);
    EXPECT_FALSE(temporary.empty());
    EXPECT_FALSE(std::filesystem::exists(temporary));
    EXPECT_EQ(installation, folder_.Path() / "installation");
    EXPECT_EQ(GetPathVariable(InstallationVariable), "");
}

TEST_F(SessionPlayerTest, SettingsAndLocksHoldForTheSession)
{
    bool locked = false;
    std::string folder;
    observe_ = [&] {
        locked = locked || SettingsStore::Current().IsLocked(SettingsStore::DownloadLocation);
        folder += SettingsStore::Current().Values().downloadLocation == Downloads().c_str() ? "d" : "-";
    };
    EXPECT_EQ(Play(R"({"settings": {"DownloadLocation": "${DOWNLOADS}", "locks": {"DownloadLocation": "R"}},
                       "steps": []})"),
              SessionPlayer::Done);
    EXPECT_TRUE(locked);
    EXPECT_EQ(folder.front(), 'd');
    EXPECT_EQ(folder.back(), '-');
    EXPECT_FALSE(SettingsStore::Current().IsLocked(SettingsStore::DownloadLocation));
}

TEST_F(SessionPlayerTest, SettingsComeFromAFile)
{
    std::ofstream(folder_.Path() / "settings.json")
        << Json{{"DownloadLocation", Downloads().string()}, {"DoNotRemindDownloadLocation", true}};
    EXPECT_EQ(Play(R"({"settingsFile": "settings.json", "steps": [)" + Download("/archive?entries=1") +
                   R"(, {"wait": "notification"}]})"),
              SessionPlayer::Done);
    EXPECT_TRUE(std::filesystem::exists(Downloads() / "part-000001.ZALPart"));
}

TEST_F(SessionPlayerTest, ADamagedFileOfSettingsFailsTheSession)
{
    std::ofstream(folder_.Path() / "settings.json") << "{";
    EXPECT_EQ(Play(R"({"settingsFile": "settings.json", "steps": []})"), SessionPlayer::Failed);
    EXPECT_THAT(Reason(), HasSubstr("settings.json"));
}

TEST_F(SessionPlayerTest, AFolderInThePlaceOfTheSettingsFailsTheSessionAndStays)
{
    std::filesystem::create_directory(folder_.Path() / "settings.json");
    EXPECT_EQ(Play(R"({"settingsFile": "settings.json", "steps": []})"), SessionPlayer::Failed);
    EXPECT_THAT(Reason(), HasSubstr("settings.json"));
    EXPECT_TRUE(std::filesystem::is_directory(folder_.Path() / "settings.json"));
}

TEST_F(SessionPlayerTest, ASaveThatCannotBeWrittenFailsItsStepAndLosesNothing)
{
    CadDocument document;
    document.kind = DocumentKind::Product;
    document.partNumber = "top";
    const std::filesystem::path top = folder_.Path() / "top.ZALProduct";
    WriteDocument(document, top);
    std::ofstream(folder_.Path() / "file") << "a file";
    for (const char* place : {"file/new.ZALProduct", "none/new.ZALProduct", "new.ZALPart", "downloads"}) {
        EXPECT_EQ(Play(R"({"documents": ["top.ZALProduct"],
                           "steps": [{"save": "top.ZALProduct", "as": ")" +
                       std::string(place) + "\"}]}"),
                  SessionPlayer::Failed);
        EXPECT_THAT(Reason(), HasSubstr(place));
        EXPECT_EQ(events_.back()["step"], 1);
        EXPECT_EQ(ReadDocument(top), document);
    }
}

TEST_F(SessionPlayerTest, WithoutAFrameADownloadHasNoWindow)
{
    EXPECT_EQ(Play(R"({"frame": false,
                       "settings": {"DownloadLocation": "${DOWNLOADS}", "DoNotRemindDownloadLocation": true},
                       "steps": [)" +
                   Download("/archive?entries=1") + R"(, {"wait": "notification"}]})"),
              SessionPlayer::Done);
    EXPECT_TRUE(EventsOf("window").empty());
}

TEST_F(SessionPlayerTest, TheWorkshopIsTheFramesAndTheFrameEnds)
{
    std::string workshop;
    observe_ = [&] {
        if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
            workshop = frame->GetCurrentWorkshop().CastToCharPtr();
    };
    EXPECT_EQ(Play(R"({"workshop": "PartWorkshop", "steps": []})"), SessionPlayer::Done);
    EXPECT_EQ(workshop, "PartWorkshop");
    EXPECT_EQ(ZALApplicationFrame::GetFrame(), nullptr);
}

TEST_F(SessionPlayerTest, OpenDocumentsGiveAnEditorAndTheLastIsActive)
{
    bool editor = false;
    observe_ = [&] { editor = editor || ZALFrmEditor::GetCurrentEditor(); };
    EXPECT_EQ(PlaySteps(""), SessionPlayer::Done);
    EXPECT_FALSE(editor);

    for (const char* name : {"a.ZALProduct", "b.ZALProduct"}) {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.partNumber = name;
        WriteDocument(document, folder_.Path() / name);
    }
    EXPECT_EQ(Play(R"({"documents": ["a.ZALProduct", "b.ZALProduct"], "steps": []})"), SessionPlayer::Done);
    EXPECT_TRUE(editor);
    ASSERT_EQ(EventsOf("document").size(), 2U);
    EXPECT_EQ(EventsOf("document").at(0).at("path"), (folder_.Path() / "a.ZALProduct").string());
    EXPECT_EQ(EventsOf("document").at(0).at("action"), "opened");
    EXPECT_EQ(EventsOf("document").at(1).at("path"), (folder_.Path() / "b.ZALProduct").string());
}

TEST_F(SessionPlayerTest, ADocumentThatIsMissingOrNoneFailsTheSession)
{
    std::ofstream(folder_.Path() / "text.ZALPart") << "text";
    EXPECT_EQ(Play(R"({"documents": ["missing.ZALPart"], "steps": []})"), SessionPlayer::Failed);
    EXPECT_THAT(Reason(), HasSubstr("missing.ZALPart"));
    EXPECT_EQ(Play(R"({"documents": ["text.ZALPart"], "steps": []})"), SessionPlayer::Failed);
    EXPECT_THAT(Reason(), HasSubstr("text.ZALPart"));
}

TEST_F(SessionPlayerTest, TracesComeWhenTheSessionAsksForThem)
{
    const std::string steps = R"("steps": [{"message": {"event": "velmart_over", "content": 0}}]})";
    EXPECT_EQ(Play("{" + steps), SessionPlayer::Done);
    EXPECT_TRUE(EventsOf("trace").empty());
    EXPECT_EQ(Play("{\"traces\": true, " + steps), SessionPlayer::Done);
    EXPECT_THAT(EventsOf("trace"),
                Contains(Json{{"event", "trace"},
                              {"name", "ZALVelmartIntegration"},
                              {"text", "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_over"}}));
    EXPECT_EQ(Play("{" + steps), SessionPlayer::Done);
    EXPECT_TRUE(EventsOf("trace").empty());
}

TEST_F(SessionPlayerTest, ASecondSessionOfTheProcessKnowsNothingOfTheFirst)
{
    EXPECT_EQ(PlaySteps(Download("/archive?entries=100&piece=1&pause=600000")), SessionPlayer::Done);
    // The module takes one download at a time.
    EXPECT_EQ(PlaySteps(Download("/archive?entries=1") + R"(, {"wait": "notification"})"), SessionPlayer::Done);
    EXPECT_TRUE(std::filesystem::exists(Downloads() / "part-000001.ZALPart"));
}

TEST_F(SessionPlayerTest, TheJournalGoesBackToWhereItWent)
{
    int lines = 0;
    journal::Redirect([&](const Json&) { ++lines; });
    EXPECT_EQ(PlaySteps(""), SessionPlayer::Done);
    journal::Send({{"event", "after"}});
    journal::Redirect({});
    EXPECT_EQ(lines, 1);
}

// ---------------------------------------------------------------------------------------------
// Panel and commands

TEST_F(SessionPlayerTest, ThePanelIsOpenAtTheStartAndCanBeClosedAndOpened)
{
    EXPECT_EQ(PlaySteps(R"({"panel": "close"}, {"panel": "open"}, {"panel": "open"},
                           {"message": {"event": "velmart_over", "content": {}}})"),
              SessionPlayer::Done);
    std::vector<std::string> actions;
    for (const Json& event : EventsOf("panel"))
        actions.push_back(event["action"]);
    EXPECT_EQ(actions, (std::vector<std::string>{"opened", "closed", "opened", "closed"}));
    EXPECT_EQ(EventsOf("result").size(), 3U); // SetAccessDialog twice, OnJSMessage
    EXPECT_THAT(EventsOf("notification"),
                Contains(Json::parse(R"({"event": "notification", "class": "ZALDlgWindCloseNotification",
                                         "publisher": "PanelEvents"})")));
}

TEST_F(SessionPlayerTest, AMessageAndAPageAndACloseNeedAPanel)
{
    for (const char* step : {R"({"message": "{}"})", R"({"url": "http://a/"})", R"({"panel": "close"})"}) {
        EXPECT_EQ(PlaySteps(std::string(R"({"panel": "close"}, )") + step), SessionPlayer::Failed);
        EXPECT_EQ(Reason(), "the panel is closed") << step;
    }
}

TEST_F(SessionPlayerTest, APageOfTheCatalogueGetsTheScriptOfTheInstallation)
{
    const std::filesystem::path webapp = folder_.Path() / "installation" / "webapps" / "ZALVelmartIntegrationJS";
    std::filesystem::create_directories(webapp);
    std::ofstream(webapp / "OpApiHandlers.js") << "connect('%USAGE_CONTEXT%');";
    EXPECT_EQ(PlaySteps(R"({"url": "https://velmart.example/"})"), SessionPlayer::Done);
    ASSERT_EQ(EventsOf("script").size(), 1U);
    EXPECT_EQ(EventsOf("script")[0]["text"], "connect('SidePanel');");
}

TEST_F(SessionPlayerTest, ACommandIsStartedAsAUserDoes)
{
    EXPECT_EQ(PlaySteps(R"({"command": "Unknown"})"), SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "there is no command \"Unknown\"");

    EXPECT_EQ(PlaySteps(R"({"command": "ZALVelmartFindSimilarCmd"})"), SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "the command \"ZALVelmartFindSimilarCmd\" is not available");

    EXPECT_EQ(PlaySteps(R"({"message": {"event": "velmart_ready", "content": {}}},
                           {"command": "ZALVelmartFindSimilarCmd"}, {"wait": "dialog"}, {"wait": "idle"})"),
              SessionPlayer::Done);
    ASSERT_EQ(EventsOf("dialog").size(), 1U); // nothing is selected
    EXPECT_EQ(EventsOf("dialog")[0]["name"], "FileDownloadErrorNotify");
    std::vector<std::string> actions;
    for (const Json& event : EventsOf("command"))
        if (event.contains("action"))
            actions.push_back(event["action"]);
    EXPECT_EQ(actions, (std::vector<std::string>{"begun", "ended"}));
}

TEST_F(SessionPlayerTest, AHighlightedElementIsWhatACommandWorksOn)
{
    CadDocument part;
    part.partNumber = "BOLT";
    WriteDocument(part, folder_.Path() / "bolt.ZALPart");
    const std::string session = R"({"documents": ["bolt.ZALPart"], "traces": true, "steps": [
        {"message": {"event": "velmart_ready", "content": {"searchByUploadUrl": "${BASE}/upload"}}},
        {"highlight": "NAME"}, {"command": "ZALVelmartFindSimilarCmd"}, {"wait": "idle"}]})";
    const auto playWith = [&](const std::string& name) {
        std::string text = session;
        return Play(text.replace(text.find("NAME"), 4, name));
    };
    EXPECT_EQ(playWith("BOLT"), SessionPlayer::Done);
    EXPECT_EQ(EventsOf("highlight").at(0)["element"], "BOLT");
    ASSERT_GE(EventsOf("dialog").size(), 1U);
    EXPECT_EQ(EventsOf("dialog")[0]["name"], "UploadWarningPopup"); // it has its selection

    EXPECT_EQ(playWith("NUT"), SessionPlayer::Failed);
    EXPECT_EQ(Reason(), "the active document has no \"NUT\"");
}

} // namespace openhost
