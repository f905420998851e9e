// docs/session.schema.json, held against the reader of sessions by a validator of other people, a program for Python.

#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include "openhost/files/TemporaryFolder.h"
#include "openhost/play/SessionFile.h"
#include "openhost/play/SessionSteps.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>

namespace openhost::testing {

namespace {

using Json = nlohmann::ordered_json;

/// What the reader says against the session `text`; empty when it takes it.
std::string RefusalOfReader(const std::string& text, const Placeholders& given = {})
{
    try {
        ParseSession(text, "/sessions", given);
    } catch (const LocatedError& error) {
        return error.what();
    }
    return "";
}

/// What the schema says against each of `sessions`; empty texts for valid ones.
std::vector<std::string> RefusalsOfSchema(const std::vector<std::string>& sessions)
{
    const TemporaryFolder folder;
    WriteBytes(folder.Path() / "sessions.json", Json(sessions).dump());
    const std::string command = "'" VELMART_PYTHON "' '" + SourceDir() + "/tests/schema/judge.py' '" + SourceDir() +
                                "/docs/session.schema.json' '" + (folder.Path() / "sessions.json").string() + "' 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    std::string answer;
    char buffer[4096];
    for (std::size_t count; pipe && (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        answer.append(buffer, count);
    if (!pipe || pclose(pipe) != 0)
        throw std::runtime_error("the judge has failed: " + answer);
    return Json::parse(answer).get<std::vector<std::string>>();
}

void ExpectSameVerdicts(const std::vector<std::string>& sessions)
{
    const std::vector<std::string> refusals = RefusalsOfSchema(sessions);
    ASSERT_EQ(sessions.size(), refusals.size());
    for (std::size_t i = 0; i < sessions.size(); ++i) {
        const std::string refusal = RefusalOfReader(sessions[i]);
        EXPECT_EQ(refusal.empty(), refusals[i].empty())
            << sessions[i] << "\n  the reader: " << refusal << "\n  the schema: " << refusals[i];
    }
}

std::string WithStep(const std::string& step)
{
    return R"({"steps": [)" + step + "]}";
}

// ---------------------------------------------------------------------------------------------
// Good sessions

/// Steps of each kind, with each of their members.
const std::vector<std::string> Steps = {
    R"({"message": {"event": "velmart_ready", "content": {}}})",
    R"({"message": "no JSON"})",
    R"({"url": ""})",
    R"({"panel": "open"})",
    R"({"panel": "close"})",
    R"({"page": "https://velmart.example/"})",
    R"({"page": {"click": "#a"}})",
    R"({"page": {"press": "Tab"}})",
    R"({"page": {"enter": {"selector": "#a", "text": ""}}})",
    R"({"screenshot": "a.png"})",
    R"({"answer": {"dialog": "OverwriteNotify", "button": 1000}})",
    R"({"answer": {"dialog": "ReplaceAllPopUp", "button": 0, "fails": true}})",
    R"({"push": {"dialog": "ZALVelmartDownloadLocationDlg", "control": "OK"}})",
    R"({"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": ""}})",
    R"({"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "state": true}})",
    R"({"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "state": false}})",
    R"({"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "state": 262144}})",
    R"({"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "state": 524288}})",
    R"({"options": "open"})",
    R"({"options": "refresh"})",
    R"({"options": "save"})",
    R"({"options": "reset"})",
    R"({"options": "restore"})",
    R"({"select": "Root/Child.2"})",
    R"({"highlight": "Root/Child.2"})",
    R"({"move": "Root/Child.2", "at": [1000000, -1000000, 0.5]})",
    R"({"move": "Root/Child.2", "at": [0, 0, 0], "axis": [0, 0, 2], "angle": -360})",
    R"({"move": "Root/Child.2", "at": [0, 0, 0], "angle": 360})",
    R"({"open": "a.ZALPart"})",
    R"({"new": "a.ZALProduct"})",
    R"({"new": "a.ZALProduct", "partNumber": "A"})",
    R"({"undo": true})",
    R"({"redo": true})",
    R"({"save": "a.ZALPart"})",
    R"({"save": "a.ZALPart", "as": "b.ZALPart"})",
    R"({"close": "a.ZALPart"})",
    R"({"close": "a.ZALPart", "discard": true})",
    R"({"tree": "a.ZALPart"})",
    R"({"command": "ZALVelmartFindSimilarCmd"})",
    R"({"workshop": ""})",
    R"({"cancel": "ZALVelmartMeridiaAccessAddinActionCmd"})",
    R"({"listener": null})",
    R"({"listener": {"replies": []}})",
    R"({"listener": {"replies": [{"to": "a", "send": {}}, {"to": "a", "send": "b", "later": true}]}})",
    R"({"listener": {"replies": [{"to": "a", "send": []}, {"to": "a", "send": [{}, "b"]}]}})",
    R"({"wait": "idle"})",
    R"({"wait": "transfer", "seconds": 0})",
    R"({"wait": {"page": "#a"}, "seconds": 86400})",
};

/// Sessions with each of the other members.
const std::vector<std::string> Sessions = {
    R"({"steps": []})",
    R"({"$schema": "session.schema.json", "steps": []})",
    R"({"variables": {"ZALTemp": "a", "PARTS": "b"}, "steps": []})",
    R"({"environment": {"A": "", "B": null}, "steps": []})",
    R"({"settings": {"DownloadLocation": "", "DoNotRemindDownloadLocation": true,
        "locks": {"DownloadLocation": "R", "DoNotRemindDownloadLocation": "-"}}, "steps": []})",
    R"({"settingsFile": "a", "steps": []})",
    R"({"frame": false, "workshop": "", "traces": true, "strict": true, "steps": []})",
    R"({"documents": ["a", "b"], "steps": []})",
};

std::vector<std::string> GoodSessions()
{
    std::vector<std::string> sessions = Sessions;
    for (const std::string& step : Steps)
        sessions.push_back(WithStep(step));
    return sessions;
}

std::set<std::string> KeysOf(const std::vector<std::string>& texts)
{
    std::set<std::string> keys;
    for (const std::string& text : texts) {
        const Json map = Json::parse(text);
        for (const auto& [key, value] : map.items())
            keys.insert(key);
    }
    return keys;
}

TEST(SessionSchema, TakesWhatTheReaderTakes)
{
    const std::vector<std::string> sessions = GoodSessions();
    for (const std::string& session : sessions)
        EXPECT_EQ("", RefusalOfReader(session)) << session;
    ExpectSameVerdicts(sessions);
}

TEST(SessionSchema, IsTriedWithEachKindOfStep)
{
    const std::set<std::string> tried = KeysOf(Steps);
    for (const StepKinds& theme : {PageSteps(), DialogSteps(), DocumentSteps(), HostSteps()})
        for (const StepKind& kind : theme)
            EXPECT_TRUE(tried.contains(kind.key)) << "no session of this test has a step \"" << kind.key << '"';
}

TEST(SessionSchema, IsTriedWithEachKeyOfASession)
{
    const Json schema = Json::parse(ReadFile(SourceDir() + "/docs/session.schema.json"));
    const std::set<std::string> tried = KeysOf(Sessions);
    for (const auto& [key, value] : schema["properties"].items())
        EXPECT_TRUE(tried.contains(key)) << "no session of this test has the key \"" << key << '"';
}

/// By where they stand: the examples, and the sessions in the documents.
std::map<std::string, std::string> SessionsOfTheTree()
{
    std::map<std::string, std::string> sessions;
    for (const auto& entry : std::filesystem::directory_iterator(SourceDir() + "/examples"))
        if (entry.path().extension() == ".json")
            sessions[entry.path().filename()] = ReadFile(entry.path());
    for (const auto& entry : std::filesystem::directory_iterator(SourceDir() + "/docs")) {
        if (entry.path().extension() != ".md")
            continue;
        const std::string text = ReadFile(entry.path());
        const std::string opening = "```json\n";
        for (std::size_t begin = text.find(opening); begin != std::string::npos; begin = text.find(opening, begin)) {
            begin += opening.size();
            const std::string block = text.substr(begin, text.find("```", begin) - begin);
            if (block.find("\"steps\"") != std::string::npos)
                sessions[entry.path().filename().string() + " at " + std::to_string(begin)] = block;
        }
    }
    return sessions;
}

TEST(SessionSchema, TakesTheSessionsOfTheTree)
{
    const Placeholders given = {{"BASE", "http://127.0.0.1"}, {"PARTS", "/parts"}, {"REQUEST", "{}"}, {"PAGE", ""}};
    std::vector<std::string> places;
    std::vector<std::string> sessions;
    for (const auto& [place, session] : SessionsOfTheTree()) {
        EXPECT_EQ("", RefusalOfReader(session, given)) << place;
        places.push_back(place);
        sessions.push_back(session);
    }
    ASSERT_LT(5U, sessions.size());
    const std::vector<std::string> refusals = RefusalsOfSchema(sessions);
    for (std::size_t i = 0; i < places.size(); ++i)
        EXPECT_EQ("", refusals[i]) << places[i];
}

// ---------------------------------------------------------------------------------------------
// Changed sessions, most of which are bad

/// Values that stand in the place of another.
const std::vector<Json>& Replacements()
{
    static const std::vector<Json> values = {nullptr,
                                             true,
                                             false,
                                             0,
                                             1,
                                             -1,
                                             3,
                                             1001,
                                             0.5,
                                             86400.5,
                                             -360.5,
                                             361,
                                             1e6,
                                             1000001,
                                             262144,
                                             524288,
                                             "",
                                             "x",
                                             "open",
                                             "\u00e4",
                                             std::string("a\0b", 3),
                                             "R",
                                             "RR",
                                             Json::array(),
                                             {""},
                                             {1},
                                             {0, 0, 0},
                                             {0, 0, 1},
                                             {1, 2, 3, 4},
                                             {"a", 1},
                                             Json::object(),
                                             {{"page", "#a"}},
                                             {{"page", ""}}};
    return values;
}

/// All sessions that differ from `session` in one place below `place`: another value, a member more or less.
void Change(const Json& session, const Json::json_pointer& place, std::vector<std::string>& changed)
{
    for (const Json& value : Replacements()) {
        Json other = session;
        other[place] = value;
        changed.push_back(other.dump());
    }
    const Json& here = session[place];
    if (here.is_object()) {
        for (const auto& [key, value] : here.items()) {
            Json less = session;
            less[place].erase(key);
            changed.push_back(less.dump());
        }
        for (const char* key : {"unknown", "", "a=b", "seconds", "text", "state", "url", "wait", "settings"}) {
            Json more = session;
            if (more[place].contains(key))
                continue;
            more[place][key] = "x";
            changed.push_back(more.dump());
        }
    }
    if (!here.is_structured())
        return;
    for (const auto& [key, value] : here.items())
        Change(session, here.is_array() ? place / std::stoul(key) : place / key, changed);
}

TEST(SessionSchema, JudgesChangedSessionsAsTheReaderDoes)
{
    std::vector<std::string> changed;
    for (const std::string& text : GoodSessions())
        Change(Json::parse(text), Json::json_pointer(), changed);
    ASSERT_LT(5000U, changed.size());
    ExpectSameVerdicts(changed);
}

TEST(SessionSchema, RefusesWhatExcludesEachOther)
{
    const std::vector<std::string> sessions = {
        R"({"settings": {}, "settingsFile": "a", "steps": []})",
        WithStep(R"({"url": "a", "message": "b"})"),
        WithStep(
            R"({"push": {"dialog": "Options", "control": "VLDownloadLocationEditor", "text": "a", "state": true}})"),
        WithStep(R"({"page": {"click": "#a", "press": "Tab"}})"),
    };
    for (const std::string& session : sessions)
        EXPECT_NE("", RefusalOfReader(session)) << session;
    ExpectSameVerdicts(sessions);
}

TEST(SessionSchema, TakesMoreWhereASchemaCannotTell)
{
    const std::string deep = std::string(200, '[') + std::string(200, ']');
    const std::vector<std::string> sessions = {
        R"({"steps": [], "steps": []})",      // validators see the last of two members
        WithStep(R"({"url": "${UNKNOWN}"})"), // the command line may give it a value
        WithStep(R"({"url": "${"})"),         // placeholders are not described
        WithStep(R"({"answer": {"dialog": "OverwriteNotify", "button": 3.0}})"), // 3.0 is an integer to a schema
        WithStep(R"({"move": "A", "at": [0, 0, 0], "axis": [0, 0, 1e-7]})"),     // a length cannot be computed
        WithStep(R"({"message": {"a": )" + deep + "}}"),                         // nesting is not limited
    };
    const std::vector<std::string> refusals = RefusalsOfSchema(sessions);
    ASSERT_EQ(sessions.size(), refusals.size());
    for (std::size_t i = 0; i < sessions.size(); ++i) {
        EXPECT_NE("", RefusalOfReader(sessions[i])) << sessions[i];
        EXPECT_EQ("", refusals[i]) << sessions[i];
    }
}

} // namespace

} // namespace openhost::testing
