#include "openhost/play/SessionFile.h"

#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace openhost {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The error of a session as "LINE: REASON".
std::string SessionError(const std::string& text, const Placeholders& given = {})
{
    try {
        ParseSession(text, "/sessions", given);
    } catch (const LocatedError& error) {
        return std::to_string(error.Line()) + ": " + error.what();
    }
    return "no error";
}

/// The error of a session whose only step, on line 2, is `step`.
std::string StepError(const std::string& step)
{
    return SessionError("{\"steps\": [\n" + step + "]}");
}

TEST(SessionFile, ASessionWithoutStepsIsRefused)
{
    EXPECT_EQ(SessionError("\n{}"), "2: a session needs the key \"steps\"");
    EXPECT_EQ(SessionError("[]"), "1: a session must be a map, not a list");
    EXPECT_EQ(SessionError("{\"steps\": {}}"), "1: \"steps\" must be a list, not a map");
    EXPECT_EQ(SessionError("{\"steps\": []}"), "no error");
}

TEST(SessionFile, SyntaxErrorsNameTheirLine)
{
    EXPECT_THAT(SessionError("{\"steps\": [\n{\"url\": \"a\"},\n]}"), StartsWith("3: "));
}

TEST(SessionFile, AnUnknownKeyIsRefused)
{
    EXPECT_EQ(SessionError("{\"steps\": [],\n\"step\": []}"), "2: a session has the unknown key \"step\"");
}

TEST(SessionFile, ValuesOfAWrongTypeAreRefused)
{
    const auto error = [](const std::string& member) { return SessionError("{\"steps\": [],\n" + member + "}"); };
    EXPECT_EQ(error("\"variables\": []"), "2: \"variables\" must be a map, not a list");
    EXPECT_EQ(error("\"variables\": {\n\"A\": 1}"), "3: \"A\" must be a text, not a number");
    EXPECT_EQ(error("\"variables\": {\n\"A\": \"\"}"), "3: \"A\" must not be empty");
    EXPECT_EQ(error("\"environment\": \"\""), "2: \"environment\" must be a map, not a text");
    EXPECT_EQ(error("\"environment\": {\n\"A\": true}"), "3: \"A\" must be a text, not true or false");
    EXPECT_EQ(error("\"environment\": {\n\"A=B\": \"\"}"), "3: no name of a variable: \"A=B\"");
    EXPECT_EQ(error("\"environment\": {\n\"\": \"\"}"), "3: no name of a variable: \"\"");
    EXPECT_EQ(error("\"environment\": {\n\"A\": \"a\\u0000b\"}"), "3: the text must not hold a zero character");
    EXPECT_EQ(error("\"settings\": null"), "2: \"settings\" must be a map, not null");
    EXPECT_EQ(error("\"settingsFile\": 1"), "2: \"settingsFile\" must be a text, not a number");
    EXPECT_EQ(error("\"frame\": 1"), "2: \"frame\" must be true or false, not a number");
    EXPECT_EQ(error("\"workshop\": true"), "2: \"workshop\" must be a text, not true or false");
    EXPECT_EQ(error("\"documents\": \"a\""), "2: \"documents\" must be a list, not a text");
    EXPECT_EQ(error("\"documents\": [\"a\",\n1]"), "3: \"documents\" must be a text, not a number");
    EXPECT_EQ(error("\"traces\": \"yes\""), "2: \"traces\" must be true or false, not a text");
}

TEST(SessionFile, SettingsAreChecked)
{
    const auto error = [](const std::string& members) {
        return SessionError("{\"steps\": [], \"settings\": {\n" + members + "}}");
    };
    EXPECT_EQ(error("\"Other\": 1"), "2: \"settings\" has the unknown key \"Other\"");
    EXPECT_EQ(error("\"DownloadLocation\": 1"), "2: \"DownloadLocation\" must be a text, not a number");
    EXPECT_EQ(error("\"DoNotRemindDownloadLocation\": \"\""),
              "2: \"DoNotRemindDownloadLocation\" must be true or false, not a text");
    EXPECT_EQ(error("\"locks\": {\n\"Other\": \"R\"}"), "3: \"locks\" has the unknown setting \"Other\"");
    EXPECT_EQ(error("\"locks\": {\n\"DownloadLocation\": \"RR\"}"),
              "3: \"DownloadLocation\" must be one lock character");
    EXPECT_EQ(error("\"locks\": {\n\"DownloadLocation\": false}"),
              "3: \"DownloadLocation\" must be a text, not true or false");
}

TEST(SessionFile, SettingsComeFromOnePlace)
{
    EXPECT_EQ(SessionError("{\"steps\": [], \"settings\": {},\n\"settingsFile\": \"a\"}"),
              "2: \"settings\" and \"settingsFile\" exclude each other");
}

TEST(SessionFile, AStepIsAMapWithOneStepKey)
{
    EXPECT_EQ(StepError("1"), "2: a step must be a map, not a number");
    EXPECT_EQ(StepError("{}"), "2: a step must not be empty");
    EXPECT_EQ(StepError("{\n\"click\": 1}"), "3: unknown step \"click\"");
    EXPECT_EQ(StepError("{\"seconds\": 1}"), "2: unknown step \"seconds\"");
    EXPECT_EQ(StepError("{\"url\": \"a\",\n\"message\": \"b\"}"), "3: a step has one key: \"url\" or \"message\"");
    EXPECT_EQ(StepError("{\"url\": \"a\",\n\"seconds\": 1}"), "3: the step has the unknown key \"seconds\"");
}

TEST(SessionFile, MessagesAndAddressesAreChecked)
{
    EXPECT_EQ(StepError("{\"message\": 1}"), "2: \"message\" must be a map or a text, not a number");
    EXPECT_EQ(StepError("{\"message\": []}"), "2: \"message\" must be a map or a text, not a list");
    EXPECT_EQ(StepError("{\"message\": \"\"}"), "no error");
    EXPECT_EQ(StepError("{\"url\": null}"), "2: \"url\" must be a text, not null");
}

TEST(SessionFile, AnswersAreChecked)
{
    EXPECT_EQ(StepError("{\"answer\": \"d\"}"), "2: \"answer\" must be a map, not a text");
    EXPECT_EQ(StepError("{\"answer\": {\"button\": 1}}"), "2: \"answer\" needs the key \"dialog\"");
    EXPECT_EQ(StepError("{\"answer\": {\"dialog\": \"d\"}}"), "2: \"answer\" needs the key \"button\"");
    EXPECT_EQ(StepError("{\"answer\": {\"dialog\": \"d\",\n\"button\": 1.5}}"),
              "3: \"button\" must be a whole number from 0 to 1000");
    EXPECT_EQ(StepError("{\"answer\": {\"dialog\": \"d\", \"button\": -1}}"),
              "2: \"button\" must be a whole number from 0 to 1000");
    EXPECT_EQ(StepError("{\"answer\": {\"dialog\": \"d\", \"button\": 99999999999999999999}}"),
              "2: \"button\" must be a whole number from 0 to 1000");
    EXPECT_EQ(StepError("{\"answer\": {\"dialog\": \"\", \"button\": 1}}"), "2: \"dialog\" must not be empty");
    EXPECT_EQ(StepError("{\"answer\": {\"dialog\": \"d\", \"button\": 1, \"text\": \"\"}}"),
              "2: \"answer\" has the unknown key \"text\"");
}

TEST(SessionFile, ListenersAreChecked)
{
    const auto error = [](const std::string& replies) {
        return StepError("{\"listener\": {\"replies\": " + replies + "}}");
    };
    EXPECT_EQ(StepError("{\"listener\": null}"), "no error");
    EXPECT_EQ(StepError("{\"listener\": true}"), "2: \"listener\" must be a map, not true or false");
    EXPECT_EQ(StepError("{\"listener\": {}}"), "2: \"listener\" needs the key \"replies\"");
    EXPECT_EQ(StepError("{\"listener\": {\"replies\": [], \"to\": \"a\"}}"),
              "2: \"listener\" has the unknown key \"to\"");
    EXPECT_EQ(error("{}"), "2: \"replies\" must be a list, not a map");
    EXPECT_EQ(error("[]"), "no error");
    EXPECT_EQ(error("[\n\"a\"]"), "3: a reply must be a map, not a text");
    EXPECT_EQ(error("[{\"to\": \"a\"}]"), "2: a reply needs the key \"send\"");
    EXPECT_EQ(error("[{\"send\": {}}]"), "2: a reply needs the key \"to\"");
    EXPECT_EQ(error("[{\"to\": \"\", \"send\": {}}]"), "2: \"to\" must not be empty");
    EXPECT_EQ(error("[{\"to\": \"a\", \"send\": 5}]"), "2: \"send\" must be a map or a text, not a number");
    EXPECT_EQ(error("[{\"to\": \"a\", \"send\": [{},\n[]]}]"), "3: \"send\" must be a map or a text, not a list");
    EXPECT_EQ(error("[{\"to\": \"a\", \"send\": \"\", \"later\": 1}]"),
              "2: \"later\" must be true or false, not a number");
    EXPECT_EQ(error("[{\"to\": \"a\", \"send\": [], \"id\": 1}]"), "2: a reply has the unknown key \"id\"");
    EXPECT_EQ(error("[{\"to\": \"a\", \"send\": [{}, \"x\"], \"later\": true}]"), "no error");
    EXPECT_EQ(error("[{\"to\": \"a\", \"send\": [{\"b\": \"${NONE}\"}]}]"), "2: the placeholder \"NONE\" has no value");
}

TEST(SessionFile, PushesAreChecked)
{
    EXPECT_EQ(StepError("{\"push\": {\"dialog\": \"d\"}}"), "2: \"push\" needs the key \"control\"");
    EXPECT_EQ(StepError("{\"push\": {\"control\": \"c\"}}"), "2: \"push\" needs the key \"dialog\"");
    EXPECT_EQ(StepError("{\"push\": {\"dialog\": \"d\", \"control\": \"c\", \"text\": 1}}"),
              "2: \"text\" must be a text, not a number");
    for (const char* state : {"\"on\"", "1", "0", "262145", "null", "{}", "524288.5"})
        EXPECT_EQ(
            StepError(std::string("{\"push\": {\"dialog\": \"d\", \"control\": \"c\", \"state\": ") + state + "}}"),
            "2: \"state\" must be true or 262144, or false or 524288")
            << state;
    for (const char* state : {"true", "false", "262144", "524288"})
        EXPECT_EQ(
            StepError(std::string("{\"push\": {\"dialog\": \"d\", \"control\": \"c\", \"state\": ") + state + "}}"),
            "no error")
            << state;
    EXPECT_EQ(StepError("{\"push\": {\"dialog\": \"d\", \"control\": \"c\", \"button\": 1}}"),
              "2: \"push\" has the unknown key \"button\"");
    EXPECT_EQ(StepError("{\"push\": {\"dialog\": \"d\", \"control\": \"c\", \"text\": \"\", \"state\": true}}"),
              "2: \"push\" has either \"text\" or \"state\"");
}

TEST(SessionFile, OptionsAreChecked)
{
    for (const char* operation : {"open", "refresh", "save", "reset", "restore"})
        EXPECT_EQ(StepError(std::string("{\"options\": \"") + operation + "\"}"), "no error") << operation;
    for (const char* action : {"open", "close"})
        EXPECT_EQ(StepError(std::string("{\"panel\": \"") + action + "\"}"), "no error") << action;
    EXPECT_EQ(StepError("{\"panel\": \"hide\"}"), "2: \"panel\" is \"open\" or \"close\"");
    for (const char* step : {"highlight", "command", "panel"})
        EXPECT_EQ(StepError(std::string("{\"") + step + "\": \"\"}"),
                  std::string("2: \"") + step + "\" must not be empty");
    EXPECT_EQ(StepError("{\"options\": \"close\"}"), "2: unknown operation \"close\" of \"options\"");
    EXPECT_EQ(StepError("{\"options\": \"\"}"), "2: \"options\" must not be empty");
    EXPECT_EQ(StepError("{\"options\": true}"), "2: \"options\" must be a text, not true or false");
    EXPECT_EQ(StepError("{\"options\": \"open\", \"dialog\": \"d\"}"), "2: the step has the unknown key \"dialog\"");
}

TEST(SessionFile, WaitsAreChecked)
{
    EXPECT_EQ(StepError("{\"wait\": 5}"), "2: \"wait\" must be a text, not a number");
    EXPECT_EQ(StepError("{\"wait\": \"\"}"), "2: \"wait\" must not be empty");
    EXPECT_EQ(StepError("{\"wait\": \"idle\",\n\"seconds\": -1}"), "3: \"seconds\" must be a number from 0 to 86400");
    EXPECT_EQ(StepError("{\"wait\": \"idle\", \"seconds\": 86401}"), "2: \"seconds\" must be a number from 0 to 86400");
    EXPECT_EQ(StepError("{\"wait\": \"idle\", \"seconds\": \"1\"}"),
              "2: \"seconds\" must be a number from 0 to 86400, not a text");
    EXPECT_EQ(StepError("{\"wait\": \"idle\", \"seconds\": 0.25}"), "no error");
}

TEST(SessionFile, MovesAreChecked)
{
    const auto error = [](const std::string& members) { return StepError("{\"move\": \"a/b\"" + members + "}"); };
    EXPECT_EQ(error(""), "2: the step needs the key \"at\"");
    EXPECT_EQ(error(",\n\"at\": [1, 2]"), "3: \"at\" must be a list of three numbers");
    EXPECT_EQ(error(", \"at\": {}"), "2: \"at\" must be a list of three numbers");
    EXPECT_EQ(error(", \"at\": [1, 2, \"3\"]"), "2: \"at\" must be a number from -1e+06 to 1e+06, not a text");
    EXPECT_EQ(error(", \"at\": [1, 2, 1e300]"), "2: \"at\" must be a number from -1e+06 to 1e+06");
    EXPECT_EQ(error(", \"at\": [1, 2, 3], \"axis\": [0, 0, 0]"), "2: \"axis\" must have a direction");
    EXPECT_EQ(error(", \"at\": [1, 2, 3], \"angle\": 361"), "2: \"angle\" must be a number from -360 to 360");
    EXPECT_EQ(error(", \"at\": [1, 2, 3], \"axis\": [0, 0, 1], \"angle\": -360"), "no error");
}

TEST(SessionFile, APlaceholderWithoutAValueIsRefused)
{
    EXPECT_EQ(StepError("{\"message\": {\"event\": \"a\",\n\"content\": [\"x${BASE}\"]}}"),
              "3: the placeholder \"BASE\" has no value");
    EXPECT_THAT(StepError("{\"url\": \"${BASE\"}"), HasSubstr("2: a placeholder has no end"));
    EXPECT_EQ(SessionError("{\"steps\": [{\"url\": \"${BASE}\"}]}", {{"BASE", "x"}}), "no error");
    EXPECT_EQ(StepError("{\"url\": \"$${BASE}${ZALTemp}${ZALInstallPath}\"}"), "no error");
}

TEST(SessionFile, PathVariablesArePlaceholdersButNotOfEachOther)
{
    EXPECT_EQ(SessionError("{\"variables\": {\"A\": \"/a\"}, \"steps\": [{\"url\": \"${A}\"}]}"), "no error");
    EXPECT_EQ(SessionError("{\"steps\": [],\n\"variables\": {\"A\": \"/a\", \"B\": \"${A}/b\"}}"),
              "2: the placeholder \"A\" has no value");
    EXPECT_EQ(SessionError("{\"steps\": [], \"variables\": {\"B\": \"${A}/b\"}}", {{"A", "/a"}}), "no error");
}

TEST(SessionFile, WhatIsLeftOutHasItsUsualValue)
{
    const Session session = ParseSession("{\"steps\": []}", "/sessions");
    EXPECT_EQ(session.folder, "/sessions");
    EXPECT_TRUE(session.variables.empty());
    EXPECT_TRUE(session.environment.empty());
    EXPECT_FALSE(session.settings);
    EXPECT_FALSE(session.settingsFile);
    EXPECT_TRUE(session.frame);
    EXPECT_EQ(session.workshop, "PRDWorkshop");
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
        "steps": [{"message": {}}, {"url": ""}, {"answer": {"dialog": "d", "button": 0}},
                  {"push": {"dialog": "d", "control": "OK"}}, {"wait": "idle", "seconds": 1}]})",
                                         "/sessions");
    EXPECT_EQ(session.variables.at("ZALTemp"), "/t");
    EXPECT_EQ(session.environment.at("A"), "1");
    EXPECT_EQ(session.environment.at("B"), std::nullopt);
    EXPECT_EQ(session.settings->downloadLocation, "/d");
    EXPECT_TRUE(session.settings->doNotRemindDownloadLocation);
    EXPECT_EQ(session.settings->locks.at("DownloadLocation"), 'R');
    EXPECT_FALSE(session.frame);
    EXPECT_EQ(session.workshop, "");
    EXPECT_EQ(session.documents, (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(session.traces);
    std::vector<std::string> keys;
    for (const auto& step : session.steps)
        keys.push_back(step.key);
    EXPECT_EQ(keys, (std::vector<std::string>{"message", "url", "answer", "push", "wait"}));
}

TEST(SessionFile, AFileThatCannotBeReadIsRefused)
{
    const TemporaryFolder folder;
    EXPECT_THROW(ReadSessionFile(folder.Path() / "missing.json"), LocatedError);
    EXPECT_THROW(ReadSessionFile(folder.Path()), LocatedError);
}

TEST(SessionFile, AnOverlongFileIsRefused)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "long.json") << "{\"steps\": []}" << std::string(MaximumSessionSize, ' ');
    EXPECT_THROW(ReadSessionFile(folder.Path() / "long.json"), LocatedError);
}

TEST(SessionFile, TheFolderOfAFileIsKept)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "session.json") << "{\"steps\": []}";
    EXPECT_EQ(ReadSessionFile(folder.Path() / "session.json").folder, folder.Path());
}

} // namespace openhost
