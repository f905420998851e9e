// What is done in a run becomes a session.

#include "openhost/play/SessionRecorder.h"
#include "openhost/play/SessionFile.h"

#include <gtest/gtest.h>

namespace openhost {

namespace {

using Json = nlohmann::ordered_json;

class SessionRecorderTest : public ::testing::Test {
protected:
    /// A recorder of the session `text`, with all its steps played.
    SessionRecorder& Record(const std::string& text, const Placeholders& given = {})
    {
        session_ = ParseSession(text, "/sessions", given);
        recorder_.emplace(session_, [this] { return busy_; });
        for (const SessionStep& step : session_.steps)
            recorder_->AddStep(step);
        return *recorder_;
    }
    SessionRecorder& RecordNothing(const Placeholders& given = {}) { return Record(R"({"steps": []})", given); }
    Json Steps() const { return Json::parse(recorder_->Text())["steps"]; }

    bool busy_ = false;
    Session session_;
    std::optional<SessionRecorder> recorder_;
};

TEST_F(SessionRecorderTest, APlayedSessionComesBackAsItWas)
{
    const std::string text = R"({
  "environment": {"A": "b"},
  "documents": ["/parts/A.ZALProduct"],
  "steps": [
    {"message": {"event": "velmart_insert", "content": {"id": "${ID}"}}},
    {"select": "A/B.1"},
    {"wait": "idle", "seconds": 5}
  ]
})";
    EXPECT_EQ(Json::parse(text), Json::parse(Record(text, {{"ID", "bolt"}}).Text()));
}

TEST_F(SessionRecorderTest, ARecordIsASessionThatGivesItselfAgain)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"message", R"({"event":"velmart_ready","content":{}})"}});
    recorder.AddUserStep({{"select", "A"}});
    recorder.AddUserStep({{"answer", {{"dialog", "ReplaceAllPopUp"}, {"button", 4}}}});
    const std::string first = recorder.Text();
    EXPECT_EQ(first, Record(first).Text());
}

TEST_F(SessionRecorderTest, AnActWaitsForWhatWentBefore)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"open", "/a"}});
    recorder.AddUserStep({{"select", "A"}});
    EXPECT_EQ(Json::parse(R"([{"open": "/a"}, {"wait": "idle"}, {"select": "A"}, {"wait": "idle"}])"), Steps());
}

TEST_F(SessionRecorderTest, APushDuringATransferWaitsForItsWindowOnly)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"message", "{}"}});
    busy_ = true;
    recorder.AddUserStep({{"push", {{"dialog", "ZALVelmartDownloadProgressDlg"}, {"control", "CLOSE"}}}});
    busy_ = false;
    EXPECT_EQ(Json::parse(R"([{"message": {}}, {"wait": "window"},
        {"push": {"dialog": "ZALVelmartDownloadProgressDlg", "control": "CLOSE"}}, {"wait": "idle"}])"),
              Steps());
}

TEST_F(SessionRecorderTest, ARequestDuringATransferWaitsForNothing)
{
    SessionRecorder& recorder = RecordNothing();
    busy_ = true;
    recorder.AddUserStep({{"message", "a"}});
    recorder.AddUserStep({{"message", "b"}});
    EXPECT_EQ(Json::parse(R"([{"message": "a"}, {"message": "b"}])"), Steps());
}

TEST_F(SessionRecorderTest, AnAnswerGoesBeforeTheStepThatHasLedToIt)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"select", "A"}});
    recorder.AddUserStep({{"answer", {{"dialog", "ReplaceAllPopUp"}, {"button", 4}}}});
    EXPECT_EQ(
        Json::parse(R"([{"answer": {"dialog": "ReplaceAllPopUp", "button": 4}}, {"select": "A"}, {"wait": "idle"}])"),
        Steps());
}

TEST_F(SessionRecorderTest, TypingIsOneStep)
{
    SessionRecorder& recorder = RecordNothing();
    for (const char* text : {"/", "/h", "/ho"})
        recorder.AddUserStep(
            {{"push", {{"dialog", "Options"}, {"control", "VLDownloadLocationEditor"}, {"text", text}}}});
    EXPECT_EQ(
        Json::parse(
            R"([{"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "/ho"}}, {"wait": "idle"}])"),
        Steps());
}

TEST_F(SessionRecorderTest, OfSeveralHighlightsTheLastOneCounts)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"highlight", "A"}});
    recorder.AddUserStep({{"highlight", "A/B.1"}});
    EXPECT_EQ(Json::parse(R"([{"highlight": "A/B.1"}, {"wait": "idle"}])"), Steps());
}

TEST_F(SessionRecorderTest, GivenValuesBecomePlaceholdersTheLongestFirst)
{
    SessionRecorder& recorder = RecordNothing({{"PARTS", "/home/u/parts"}, {"HOME", "/home/u"}, {"X", "A"}});
    recorder.AddUserStep({{"open", "/home/u/parts/A.ZALPart"}});
    recorder.AddUserStep({{"open", "/home/u/B.ZALPart"}});
    EXPECT_EQ("${PARTS}/A.ZALPart", Steps()[0]["open"]);
    EXPECT_EQ("${HOME}/B.ZALPart", Steps()[2]["open"]);
}

TEST_F(SessionRecorderTest, WhatLooksLikeAPlaceholderStaysAsItIs)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"message", "$${A} ${B}"}});
    EXPECT_EQ("$$${A} $${B}", Steps()[0]["message"]);
}

TEST_F(SessionRecorderTest, AMessageThatIsNoMapKeepsItsText)
{
    SessionRecorder& recorder = RecordNothing();
    recorder.AddUserStep({{"message", R"({ "event": "a" })"}});
    EXPECT_EQ(R"({ "event": "a" })", Steps()[0]["message"]);
}

TEST_F(SessionRecorderTest, StepsOfARealPageAreLeftToTheMessagesThatTheyCause)
{
    Record(R"({"steps": [{"page": {"click": "#insert"}}, {"wait": {"page": "#a"}}, {"screenshot": "a.png"},
                         {"wait": "message"}]})");
    EXPECT_EQ(Json::parse(R"([{"wait": "message"}])"), Steps());
}

TEST_F(SessionRecorderTest, DocumentsBesideTheSessionAreNamedWhole)
{
    const Json recorded = Json::parse(
        Record(R"({"documents": ["A.ZALProduct", "${P}/B.ZALPart"], "steps": []})", {{"P", "/elsewhere"}}).Text());
    EXPECT_EQ(Json::parse(R"(["/sessions/A.ZALProduct", "${P}/B.ZALPart"])"), recorded["documents"]);
}

TEST_F(SessionRecorderTest, SettingsOfAFileBecomeTheirValues)
{
    SessionRecorder& recorder = Record(R"({"settingsFile": "settings.json", "steps": []})");
    recorder.SetSettings({.downloadLocation = "/parts", .doNotRemindDownloadLocation = true, .locks = {}});
    const Json recorded = Json::parse(recorder.Text());
    EXPECT_FALSE(recorded.contains("settingsFile"));
    EXPECT_EQ(Json::parse(R"({"DownloadLocation": "/parts", "DoNotRemindDownloadLocation": true})"),
              recorded["settings"]);
}

} // namespace

} // namespace openhost
