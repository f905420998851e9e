#include "openhost/play/SessionFile.h"

#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace openhost {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// `text` with single quotes in place of double ones, and the other way round.
std::string Requoted(std::string text)
{
    for (char& letter : text)
        letter = letter == '\'' ? '"' : letter == '"' ? '\'' : letter;
    return text;
}

/// The error of a session as "LINE: REASON". Both have single quotes for double ones.
std::string SessionError(const std::string& text, const Placeholders& given = {})
{
    try {
        ParseSession(Requoted(text), "/sessions", given);
    } catch (const LocatedError& error) {
        return Requoted(std::to_string(error.Line()) + ": " + error.what());
    }
    return "no error";
}

/// The error of a session whose only step, on line 2, is `step`.
std::string StepError(const std::string& step)
{
    return SessionError("{'steps': [\n" + step + "]}");
}

TEST(SessionFile, ASessionWithoutStepsIsRefused)
{
    EXPECT_EQ("2: a session needs the key 'steps'", SessionError("\n{}"));
    EXPECT_EQ("1: a session must be a map, not a list", SessionError("[]"));
    EXPECT_EQ("1: 'steps' must be a list, not a map", SessionError("{'steps': {}}"));
    EXPECT_EQ("no error", SessionError("{'steps': []}"));
}

TEST(SessionFile, SyntaxErrorsNameTheirLine)
{
    EXPECT_THAT(SessionError("{'steps': [\n{'url': 'a'},\n]}"), StartsWith("3: "));
}

TEST(SessionFile, AnUnknownKeyIsRefused)
{
    EXPECT_EQ("2: a session has the unknown key 'step'", SessionError("{'steps': [],\n'step': []}"));
}

TEST(SessionFile, ValuesOfAWrongTypeAreRefused)
{
    const auto error = [](const std::string& member) { return SessionError("{'steps': [],\n" + member + "}"); };
    EXPECT_EQ("2: 'variables' must be a map, not a list", error("'variables': []"));
    EXPECT_EQ("3: 'A' must be a text, not a number", error("'variables': {\n'A': 1}"));
    EXPECT_EQ("3: 'A' must not be empty", error("'variables': {\n'A': ''}"));
    EXPECT_EQ("2: 'environment' must be a map, not a text", error("'environment': ''"));
    EXPECT_EQ("3: 'A' must be a text, not true or false", error("'environment': {\n'A': true}"));
    EXPECT_EQ("3: no name of a variable: 'A=B'", error("'environment': {\n'A=B': ''}"));
    EXPECT_EQ("3: no name of a variable: ''", error("'environment': {\n'': ''}"));
    EXPECT_EQ("3: the text must not hold a zero character", error("'environment': {\n'A': 'a\\u0000b'}"));
    EXPECT_EQ("2: 'settings' must be a map, not null", error("'settings': null"));
    EXPECT_EQ("2: 'settingsFile' must be a text, not a number", error("'settingsFile': 1"));
    EXPECT_EQ("2: 'frame' must be true or false, not a number", error("'frame': 1"));
    EXPECT_EQ("2: 'workshop' must be a text, not true or false", error("'workshop': true"));
    EXPECT_EQ("2: 'documents' must be a list, not a text", error("'documents': 'a'"));
    EXPECT_EQ("3: 'documents' must be a text, not a number", error("'documents': ['a',\n1]"));
    EXPECT_EQ("2: 'traces' must be true or false, not a text", error("'traces': 'yes'"));
}

TEST(SessionFile, SettingsAreChecked)
{
    const auto error = [](const std::string& rest) {
        return SessionError("{'steps': [], 'settings': {\n" + rest + "}}");
    };
    EXPECT_EQ("2: 'settings' has the unknown key 'Other'", error("'Other': 1"));
    EXPECT_EQ("2: 'DownloadLocation' must be a text, not a number", error("'DownloadLocation': 1"));
    EXPECT_EQ("2: 'DoNotRemindDownloadLocation' must be true or false, not a text",
              error("'DoNotRemindDownloadLocation': ''"));
    EXPECT_EQ("3: 'locks' has the unknown setting 'Other'", error("'locks': {\n'Other': 'R'}"));
    EXPECT_EQ("3: 'DownloadLocation' must be one lock character", error("'locks': {\n'DownloadLocation': 'RR'}"));
    EXPECT_EQ("3: 'DownloadLocation' must be a text, not true or false",
              error("'locks': {\n'DownloadLocation': false}"));
}

TEST(SessionFile, SettingsComeFromOnePlace)
{
    EXPECT_EQ("2: 'settings' and 'settingsFile' exclude each other",
              SessionError("{'steps': [], 'settings': {},\n'settingsFile': 'a'}"));
}

TEST(SessionFile, AStepIsAMapWithOneStepKey)
{
    EXPECT_EQ("2: a step must be a map, not a number", StepError("1"));
    EXPECT_EQ("2: a step must not be empty", StepError("{}"));
    EXPECT_EQ("3: unknown step 'click'", StepError("{\n'click': 1}"));
    EXPECT_EQ("2: unknown step 'seconds'", StepError("{'seconds': 1}"));
    EXPECT_EQ("3: a step has one key: 'url' or 'message'", StepError("{'url': 'a',\n'message': 'b'}"));
    EXPECT_EQ("3: the step has the unknown key 'seconds'", StepError("{'url': 'a',\n'seconds': 1}"));
}

TEST(SessionFile, MessagesAndAddressesAreChecked)
{
    EXPECT_EQ("2: 'message' must be a map or a text, not a number", StepError("{'message': 1}"));
    EXPECT_EQ("2: 'message' must be a map or a text, not a list", StepError("{'message': []}"));
    EXPECT_EQ("no error", StepError("{'message': ''}"));
    EXPECT_EQ("2: 'url' must be a text, not null", StepError("{'url': null}"));
}

TEST(SessionFile, AnswersAreChecked)
{
    EXPECT_EQ("2: 'answer' must be a map, not a text", StepError("{'answer': 'd'}"));
    EXPECT_EQ("2: 'answer' needs the key 'dialog'", StepError("{'answer': {'button': 1}}"));
    EXPECT_EQ("2: 'answer' needs the key 'button'", StepError("{'answer': {'dialog': 'OverwriteNotify'}}"));
    EXPECT_EQ("3: 'button' must be a whole number from 0 to 1000",
              StepError("{'answer': {'dialog': 'OverwriteNotify',\n'button': 1.5}}"));
    EXPECT_EQ("2: 'button' must be a whole number from 0 to 1000",
              StepError("{'answer': {'dialog': 'OverwriteNotify', 'button': -1}}"));
    EXPECT_EQ("2: 'button' must be a whole number from 0 to 1000",
              StepError("{'answer': {'dialog': 'OverwriteNotify', 'button': 99999999999999999999}}"));
    EXPECT_EQ("2: 'button' must be a whole number from 0 to 1000",
              StepError("{'answer': {'dialog': 'OverwriteNotify', 'button': 1001}}"));
    EXPECT_EQ("no error", StepError("{'answer': {'dialog': 'OverwriteNotify', 'button': 1000}}"));
    EXPECT_EQ("2: 'dialog' must not be empty", StepError("{'answer': {'dialog': '', 'button': 1}}"));
    EXPECT_EQ("2: 'answer' has the unknown key 'text'",
              StepError("{'answer': {'dialog': 'OverwriteNotify', 'button': 1, 'text': ''}}"));
}

TEST(SessionFile, ListenersAreChecked)
{
    const auto error = [](const std::string& replies) {
        return StepError("{'listener': {'replies': " + replies + "}}");
    };
    EXPECT_EQ("no error", StepError("{'listener': null}"));
    EXPECT_EQ("2: 'listener' must be a map, not true or false", StepError("{'listener': true}"));
    EXPECT_EQ("2: 'listener' needs the key 'replies'", StepError("{'listener': {}}"));
    EXPECT_EQ("2: 'listener' has the unknown key 'to'", StepError("{'listener': {'replies': [], 'to': 'a'}}"));
    EXPECT_EQ("2: 'replies' must be a list, not a map", error("{}"));
    EXPECT_EQ("no error", error("[]"));
    EXPECT_EQ("3: a reply must be a map, not a text", error("[\n'a']"));
    EXPECT_EQ("2: a reply needs the key 'send'", error("[{'to': 'a'}]"));
    EXPECT_EQ("2: a reply needs the key 'to'", error("[{'send': {}}]"));
    EXPECT_EQ("2: 'to' must not be empty", error("[{'to': '', 'send': {}}]"));
    EXPECT_EQ("2: 'send' must be a map or a text, not a number", error("[{'to': 'a', 'send': 5}]"));
    EXPECT_EQ("3: 'send' must be a map or a text, not a list", error("[{'to': 'a', 'send': [{},\n[]]}]"));
    EXPECT_EQ("2: 'later' must be true or false, not a number", error("[{'to': 'a', 'send': '', 'later': 1}]"));
    EXPECT_EQ("2: a reply has the unknown key 'id'", error("[{'to': 'a', 'send': [], 'id': 1}]"));
    EXPECT_EQ("no error", error("[{'to': 'a', 'send': [{}, 'x'], 'later': true}]"));
    EXPECT_EQ("2: the placeholder 'NONE' has no value", error("[{'to': 'a', 'send': [{'b': '${NONE}'}]}]"));
}

TEST(SessionFile, PushesAreChecked)
{
    EXPECT_EQ("2: 'push' needs the key 'control'", StepError("{'push': {'dialog': 'Options'}}"));
    EXPECT_EQ("2: 'push' needs the key 'dialog'", StepError("{'push': {'control': 'c'}}"));
    const auto error = [](const std::string& rest) {
        return StepError("{'push': {'dialog': 'Options', 'control': 'CLOSE', " + rest + "}}");
    };
    EXPECT_EQ("2: 'text' must be a text, not a number", error("'text': 1"));
    for (const char* state : {"'on'", "1", "0", "262145", "null", "{}", "524288.5"})
        EXPECT_EQ("2: 'state' must be true or 262144, or false or 524288", error(std::string("'state': ") + state))
            << state;
    for (const char* state : {"true", "false", "262144", "524288"})
        EXPECT_EQ("no error", error(std::string("'state': ") + state)) << state;
    EXPECT_EQ("2: 'push' has the unknown key 'button'", error("'button': 1"));
    EXPECT_EQ("2: 'push' has either 'text' or 'state'", error("'text': '', 'state': true"));
}

TEST(SessionFile, OptionsAreChecked)
{
    for (const char* operation : {"open", "refresh", "save", "reset", "restore"})
        EXPECT_EQ("no error", StepError(std::string("{'options': '") + operation + "'}")) << operation;
    for (const char* action : {"open", "close"})
        EXPECT_EQ("no error", StepError(std::string("{'panel': '") + action + "'}")) << action;
    EXPECT_EQ("2: 'panel' is 'open' or 'close'", StepError("{'panel': 'hide'}"));
    for (const char* step : {"highlight", "command", "panel"})
        EXPECT_EQ(std::string("2: '") + step + "' must not be empty", StepError(std::string("{'") + step + "': ''}"));
    EXPECT_EQ("2: unknown operation 'close' of 'options'", StepError("{'options': 'close'}"));
    EXPECT_EQ("2: 'options' must not be empty", StepError("{'options': ''}"));
    EXPECT_EQ("2: 'options' must be a text, not true or false", StepError("{'options': true}"));
    EXPECT_EQ("2: the step has the unknown key 'dialog'", StepError("{'options': 'open', 'dialog': 'd'}"));
}

TEST(SessionFile, StepsOnDocumentsAreChecked)
{
    for (const char* key : {"open", "new", "save", "close", "tree"})
        EXPECT_EQ(std::string("2: '") + key + "' must not be empty", StepError(std::string("{'") + key + "': ''}"));
    EXPECT_EQ("2: 'partNumber' must not be empty", StepError("{'new': 'a.ZALProduct', 'partNumber': ''}"));
    EXPECT_EQ("2: the step has the unknown key 'partNumber'", StepError("{'open': 'a', 'partNumber': 'A'}"));
    for (const std::string key : {"undo", "redo"}) {
        EXPECT_EQ("no error", StepError("{'" + key + "': true}"));
        EXPECT_EQ("2: '" + key + "' must be true", StepError("{'" + key + "': false}"));
        EXPECT_EQ("2: '" + key + "' must be true or false, not a number", StepError("{'" + key + "': 1}"));
        EXPECT_EQ("2: the step has the unknown key 'as'", StepError("{'" + key + "': true, 'as': 'a'}"));
    }
}

TEST(SessionFile, WaitsAreChecked)
{
    EXPECT_EQ("2: 'wait' must be a text, not a number", StepError("{'wait': 5}"));
    EXPECT_EQ("2: 'wait' must not be empty", StepError("{'wait': ''}"));
    EXPECT_EQ("3: 'seconds' must be a number from 0 to 86400", StepError("{'wait': 'idle',\n'seconds': -1}"));
    EXPECT_EQ("2: 'seconds' must be a number from 0 to 86400", StepError("{'wait': 'idle', 'seconds': 86401}"));
    EXPECT_EQ("2: 'seconds' must be a number from 0 to 86400, not a text",
              StepError("{'wait': 'idle', 'seconds': '1'}"));
    EXPECT_EQ("no error", StepError("{'wait': 'idle', 'seconds': 0.25}"));
    EXPECT_EQ("no error", StepError("{'wait': 'idle', 'seconds': 86400}"));
}

TEST(SessionFile, ANameThatThereIsNotIsRefusedWithThoseThatThereAre)
{
    EXPECT_EQ(
        "2: there is no question 'OverwriteNotice'; there are FileDownloadErrorNotify, "
        "FileOpenInsertReplaceErrorNotify, NotADirectoryNotify, OverwriteNotify, ReplaceAllPopUp, UploadWarningPopup",
        StepError("{'answer': {'dialog': 'OverwriteNotice', 'button': 3}}"));
    EXPECT_THAT(StepError("{'push': {'dialog': 'Option', 'control': 'OK'}}"),
                StartsWith("2: there is no window 'Option'; there are Options, "));
    EXPECT_EQ("2: there is no control of 'ZALVelmartDownloadProgressDlg' 'OK'; there are VLProgressBar, CLOSE",
              StepError("{'push': {'dialog': 'ZALVelmartDownloadProgressDlg', 'control': 'OK'}}"));
    EXPECT_THAT(StepError("{'wait': 'transfers'}"), StartsWith("2: there is no event 'transfers'; there are idle, "));
}

TEST(SessionFile, ANameWithAPlaceholderIsLeftForThePlay)
{
    EXPECT_EQ("no error", SessionError("{'steps': [{'wait': '${EVENT}'}]}", {{"EVENT", "x"}}));
}

TEST(SessionFile, MovesAreChecked)
{
    const auto error = [](const std::string& members) { return StepError("{'move': 'a/b'" + members + "}"); };
    EXPECT_EQ("2: the step needs the key 'at'", error(""));
    EXPECT_EQ("3: 'at' must be a list of three numbers", error(",\n'at': [1, 2]"));
    EXPECT_EQ("2: 'at' must be a list of three numbers", error(", 'at': {}"));
    EXPECT_EQ("2: 'at' must be a number from -1e+06 to 1e+06, not a text", error(", 'at': [1, 2, '3']"));
    EXPECT_EQ("2: 'at' must be a number from -1e+06 to 1e+06", error(", 'at': [1, 2, 1e300]"));
    EXPECT_EQ("2: 'at' must be a number from -1e+06 to 1e+06", error(", 'at': [1, 2, -1000001]"));
    EXPECT_EQ("no error", error(", 'at': [1, -1e6, 1e6]"));
    EXPECT_EQ("2: 'axis' must have a direction", error(", 'at': [1, 2, 3], 'axis': [0, 0, 0]"));
    EXPECT_EQ("2: 'angle' must be a number from -360 to 360", error(", 'at': [1, 2, 3], 'angle': 361"));
    EXPECT_EQ("no error", error(", 'at': [1, 2, 3], 'axis': [0, 0, 1], 'angle': -360"));
}

TEST(SessionFile, APlaceholderWithoutAValueIsRefused)
{
    EXPECT_EQ("3: the placeholder 'BASE' has no value",
              StepError("{'message': {'event': 'a',\n'content': ['x${BASE}']}}"));
    EXPECT_THAT(StepError("{'url': '${BASE'}"), HasSubstr("2: a placeholder has no end"));
    EXPECT_EQ("no error", SessionError("{'steps': [{'url': '${BASE}'}]}", {{"BASE", "x"}}));
    EXPECT_EQ("no error", StepError("{'url': '$${BASE}${ZALTemp}${ZALInstallPath}'}"));
}

TEST(SessionFile, PathVariablesArePlaceholdersButNotOfEachOther)
{
    EXPECT_EQ("no error", SessionError("{'variables': {'A': '/a'}, 'steps': [{'url': '${A}'}]}"));
    EXPECT_EQ("2: the placeholder 'A' has no value",
              SessionError("{'steps': [],\n'variables': {'A': '/a', 'B': '${A}/b'}}"));
    EXPECT_EQ("no error", SessionError("{'steps': [], 'variables': {'B': '${A}/b'}}", {{"A", "/a"}}));
}

TEST(SessionFile, WhatIsLeftOutHasItsUsualValue)
{
    const Session session = ParseSession("{\"steps\": []}", "/sessions");
    EXPECT_EQ("/sessions", session.folder);
    EXPECT_TRUE(session.variables.empty());
    EXPECT_TRUE(session.environment.empty());
    EXPECT_FALSE(session.settings);
    EXPECT_FALSE(session.settingsFile);
    EXPECT_TRUE(session.frame);
    EXPECT_EQ("PRDWorkshop", session.workshop);
    EXPECT_TRUE(session.documents.empty());
    EXPECT_FALSE(session.traces);
    EXPECT_TRUE(session.steps.empty());
}

TEST(SessionFile, EveryKeyIsRead)
{
    const Session session = ParseSession(R"({
        "variables": {"ZALTemp": "/t"}, "environment": {"A": "1", "B": null},
        "settings": {"DownloadLocation": "/d", "DoNotRemindDownloadLocation": true,
                     "locks": {"DownloadLocation": "R", "DoNotRemindDownloadLocation": "-"}},
        "frame": false, "workshop": "", "documents": ["a", "b"], "traces": true,
        "steps": [{"message": {}}, {"url": ""}, {"answer": {"dialog": "OverwriteNotify", "button": 0}},
                  {"push": {"dialog": "Options", "control": "CLOSE"}}, {"wait": "idle", "seconds": 1}]})",
                                         "/sessions");
    EXPECT_EQ("/t", session.variables.at("ZALTemp"));
    EXPECT_EQ("1", session.environment.at("A"));
    EXPECT_EQ(std::nullopt, session.environment.at("B"));
    EXPECT_EQ("/d", session.settings->downloadLocation);
    EXPECT_TRUE(session.settings->doNotRemindDownloadLocation);
    EXPECT_EQ('R', session.settings->locks.at("DownloadLocation"));
    EXPECT_FALSE(session.frame);
    EXPECT_EQ("", session.workshop);
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), session.documents);
    EXPECT_TRUE(session.traces);
    std::vector<std::string> keys;
    for (const auto& step : session.steps)
        keys.push_back(step.key);
    EXPECT_EQ((std::vector<std::string>{"message", "url", "answer", "push", "wait"}), keys);
}

TEST(SessionFile, AFileThatCannotBeReadIsRefused)
{
    const TemporaryFolder folder;
    EXPECT_THROW(ReadSessionFile(folder.Path() / "missing.json"), LocatedError);
    EXPECT_THROW(ReadSessionFile(folder.Path()), LocatedError);
}

TEST(SessionFile, AFileHasAtMostFourMebibytes)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "long.json";
    const std::string text = "{\"steps\": []}";
    std::ofstream(file) << text << std::string(MaximumSessionSize - text.size(), ' ');
    EXPECT_NO_THROW(ReadSessionFile(file));
    std::ofstream(file, std::ios::app) << ' ';
    EXPECT_THROW(ReadSessionFile(file), LocatedError);
}

TEST(SessionFile, TheFolderOfAFileIsKept)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "session.json") << "{\"steps\": []}";
    EXPECT_EQ(folder.Path(), ReadSessionFile(folder.Path() / "session.json").folder);
}

} // namespace openhost
