// docs/reference.md, held against the sources: nothing is missing in its tables, and nothing in them is stale.

#include "tests/architecture/SourceTree.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <sstream>
#include <stdexcept>

namespace openhost::testing {

namespace {

using Names = std::set<std::string>;
using Row = std::vector<std::string>;

// ---------------------------------------------------------------------------------------------
// The document

const std::string& Reference()
{
    static const std::string text = TextOfSource("docs/reference.md");
    return text;
}

/// The rows of the first table under the heading `heading`, without the one of its titles.
std::vector<Row> TableOf(const std::string& heading)
{
    const std::size_t place = Reference().find("# " + heading + "\n");
    if (place == std::string::npos)
        throw std::runtime_error("docs/reference.md has no section " + heading);
    std::istringstream lines(Reference().substr(place));
    std::vector<Row> rows;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("|"))
            rows.push_back(CellsOf(line));
        else if (!rows.empty())
            break;
    }
    if (rows.size() < 3)
        throw std::runtime_error("the section " + heading + " has no table");
    rows.erase(rows.begin(), rows.begin() + 2);
    return rows;
}

/// What `pattern` finds in `text`: its first group that has matched.
std::vector<std::string> Find(const std::string& text, const std::string& pattern)
{
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
        for (std::size_t group = 1; group < match->size(); ++group)
            if ((*match)[group].matched) {
                found.push_back((*match)[group]);
                break;
            }
    return found;
}

Names FindNames(const std::string& text, const std::string& pattern)
{
    const std::vector<std::string> found = Find(text, pattern);
    return {found.begin(), found.end()};
}

/// The names that stand in a cell as code.
Names NamesIn(const std::string& cell)
{
    return FindNames(cell, "`([^` \"]+)`");
}

/// The names in the column `column` of the table under `heading`.
Names NamesIn(const std::string& heading, std::size_t column)
{
    Names names;
    for (const Row& row : TableOf(heading))
        names.merge(NamesIn(row.at(column)));
    return names;
}

// ---------------------------------------------------------------------------------------------
// The sources

std::string AllBelow(const std::string& folder, const std::string& ending)
{
    std::string all;
    for (const auto& [file, text] : TextsBelow(folder, ending))
        all += text + "\n";
    return all;
}

const std::string& Module()
{
    static const std::string text = AllBelow("module", ".cpp") + AllBelow("module", ".h");
    return text;
}

const std::string& Steps()
{
    static const std::string text = AllBelow("openhost/play", "Steps.cpp");
    return text;
}

/// The statements of `text` that hold `word`, each on a line of its own.
std::string StatementsWith(const std::string& text, const std::string& word)
{
    std::string found;
    std::istringstream statements(text);
    for (std::string statement; std::getline(statements, statement, ';');)
        if (statement.find(word) != std::string::npos)
            found += statement + ";\n";
    return found;
}

std::string Code(unsigned long value)
{
    return std::to_string(value);
}

/// The number of the constant `name` of module/host.
std::string NumberOf(const std::string& name)
{
    static const std::string headers = AllBelow("module/host", ".h");
    const std::vector<std::string> found = Find(headers, name + " = (0x[0-9A-Fa-f]+|[0-9]+);");
    return found.empty() ? "no number of " + name : Code(std::stoul(found.front(), nullptr, 0));
}

Names Without(Names names, const Names& others)
{
    for (const std::string& other : others)
        names.erase(other);
    return names;
}

std::string ListOf(const Names& names)
{
    std::string list;
    for (const std::string& name : names)
        list += "\n  " + name;
    return list;
}

/// Whether the table under `heading` has the names of the sources, and no others.
void ExpectSame(const std::string& heading, const Names& sources, const Names& documented)
{
    EXPECT_FALSE(sources.empty()) << heading << ": the sources have no such names where they are looked for";
    const Names missing = Without(sources, documented);
    const Names stale = Without(documented, sources);
    EXPECT_TRUE(missing.empty()) << "docs/reference.md, " << heading << ": missing" << ListOf(missing);
    EXPECT_TRUE(stale.empty()) << "docs/reference.md, " << heading << ": not in the sources" << ListOf(stale);
}

/// Whether the names of `documented` are among those of the sources.
void ExpectKnown(const std::string& heading, const Names& sources, const Names& documented)
{
    const Names stale = Without(documented, sources);
    EXPECT_TRUE(stale.empty()) << "docs/reference.md, " << heading << ": not in the sources" << ListOf(stale);
}

// ---------------------------------------------------------------------------------------------
// Programs

TEST(Reference, HasTheOptionsOfPlay)
{
    const std::string program = TextOfSource("openhost/play/main.cpp");
    const std::size_t begin = program.find("openhost::Command AddPlay(");
    ASSERT_NE(std::string::npos, begin);
    const std::string play = program.substr(begin, program.find("\n}\n", begin) - begin);
    Names documented;
    for (const Row& row : TableOf("Options of openhost play"))
        documented.merge(FindNames(row[0], "`(--[a-z-]+)"));
    ExpectSame("Options of openhost play", FindNames(play, "\"(--[a-z-]+)\""), documented);
    for (const std::string& option : FindNames(program, "\"(--[a-z-]+)\""))
        EXPECT_NE(std::string::npos, Reference().find(option)) << option;
}

TEST(Reference, HasEachProgramWithItsExitStatuses)
{
    const std::map<std::string, std::string> mains = {{"openhost", "openhost/play/main.cpp"},
                                                      {"openhost-geometry", "openhost/geometry/main.cpp"},
                                                      {"openhost-conversion", "openhost/conversion/main.cpp"},
                                                      {"openhost-picture", "openhost/picture/main.cpp"},
                                                      {"velmart-catalogue", "catalogue/service/main.cpp"},
                                                      {"velmart-item-maker", "catalogue/sources/main.cpp"},
                                                      {"velmart-items", "catalogue/items/main.cpp"}};
    Names files;
    for (const char* folder : {"openhost", "catalogue"})
        for (const auto& [file, text] : TextsBelow(folder, "main.cpp"))
            files.insert(file);
    // A session may be invalid; it and the making of a catalogue may be ended by a signal.
    Names expected = {"openhost play 2"};
    for (const char* program : {"openhost play", "velmart-catalogue build"})
        for (const char* status : {" 129", " 130", " 143"})
            expected.insert(std::string(program) + status);
    for (const auto& [program, file] : mains) {
        files.erase(file);
        const std::string text = TextOfSource(file);
        // A program with commands tells a wrong use by itself; its commands are done or have failed.
        const Names commands = FindNames(text, R"re((?:line\.Add\(|AddCommand\(line, )"(\w+)")re");
        const bool isUsed = text.find("RunProgram") != std::string::npos;
        for (const std::string& command : commands)
            expected.insert({program + " " + command + " 0", program + " " + command + " 1"});
        if (commands.empty())
            expected.insert(program + " 0");
        if (commands.empty() && isUsed)
            expected.insert(program + " 1");
        if (isUsed)
            expected.insert(program + " 2");
    }
    EXPECT_TRUE(files.empty()) << "programs that this test does not know:" << ListOf(files);

    Names documented;
    for (const Row& row : TableOf("Exit statuses"))
        for (const std::string& program : FindNames(row[0], "`([^`]+)`"))
            for (const std::string& status : FindNames(row[1], "(\\d+)"))
                documented.insert(program + " " + status);
    ExpectSame("Exit statuses", expected, documented);
}

// ---------------------------------------------------------------------------------------------
// Sessions

/// The names of all members that the schema `schema` describes.
Names MembersOf(const nlohmann::json& schema)
{
    Names names;
    if (!schema.is_structured())
        return names;
    if (const auto properties = schema.find("properties"); schema.is_object() && properties != schema.end())
        for (const auto& [name, value] : properties->items())
            names.insert(name);
    for (const nlohmann::json& part : schema)
        names.merge(MembersOf(part));
    return names;
}

TEST(Reference, HasTheKeysOfTheSchema)
{
    Names documented = NamesIn("Keys of a session", 0);
    documented.merge(NamesIn("Keys of settings", 0));
    documented.merge(NamesIn("Steps", 0));
    documented.merge(NamesIn("Steps", 2));
    ExpectSame("the keys of sessions, and docs/session.schema.json",
               MembersOf(nlohmann::json::parse(TextOfSource("docs/session.schema.json"))), documented);
}

TEST(Reference, HasTheKeysOfASession)
{
    const std::string reader = TextOfSource("openhost/play/SessionFile.cpp");
    ExpectSame("Keys of a session", FindNames(reader, R"re(\{"(\$?\w+)", (?:Into\(session|ReadText\}))re"),
               NamesIn("Keys of a session", 0));
    ExpectSame("Keys of settings", FindNames(reader, R"re(\{(?:SettingsStore::|")(\w+)"?, Into\(settings\.)re"),
               NamesIn("Keys of settings", 0));
}

TEST(Reference, HasTheStepsWithTheirMembers)
{
    ExpectSame("Steps", FindNames(Steps(), R"re(\.key = "(\w+)")re"), NamesIn("Steps", 0));
    ExpectSame("Steps, members", FindNames(Steps(), R"re(\{"(\w+)", (?:Into\(|read))re"), NamesIn("Steps", 2));
    ExpectSame("Steps, replies", FindNames(Steps(), R"re(\{"(\w+)", Into\(reply\.)re"), [] {
        const std::size_t items = Reference().find("Each item of `replies`");
        const std::string table = Reference().substr(items, Reference().find("\n#", items) - items);
        return FindNames(table, "\n\\| `(\\w+)`");
    }());
}

TEST(Reference, NamesTheStepsThatDoNotAct)
{
    const std::size_t begin = Reference().find("since the last step that acts, which is any but");
    ASSERT_NE(std::string::npos, begin);
    const std::string sentence = Reference().substr(begin, Reference().find(". ", begin) - begin);
    ExpectSame("Waits and failures", FindNames(Steps(), R"re(\.key = "(\w+)", \.acts = false)re"), NamesIn(sentence));
}

TEST(Reference, HasTheValuesThatAStepChoosesFrom)
{
    Names documented;
    for (const Row& row : TableOf("Steps"))
        if (row[0] == "`options`" || row[0] == "`panel`")
            documented.merge(FindNames(row[1], "`\"(\\w+)\"`"));
    ExpectSame("Steps, values", FindNames(Steps(), R"re(\{"(\w+)", "\w+", &|called == "(\w+)"|action [!=]= "(\w+)")re"),
               documented);
}

TEST(Reference, HasTheEventsOfTheJournalWithTheirMembers)
{
    Names expected;
    for (const std::string& line :
         Find(TextOfSource("openhost/journal/Events.h"), R"re(return (Line\("\w+"\)[^;]*);)re")) {
        std::string event = Find(line, R"re(Line\("(\w+)"\))re").front() + ":";
        for (const std::string& member : Find(line, R"re(\.With\("(\w+)")re"))
            event += " " + member;
        expected.insert(event);
    }
    Names documented;
    for (const Row& row : TableOf("Events of the journal")) {
        std::string event;
        for (const std::string& name : Find(row[0] + ": " + row[1], "`([^`]+)`"))
            event += event.empty() ? name + ":" : " " + name;
        documented.insert(event);
    }
    ExpectSame("Events of the journal", expected, documented);
}

TEST(Reference, HasTheValuesInTheJournal)
{
    const std::string openhost = AllBelow("openhost", ".cpp");
    Names values = FindNames(openhost, R"re(\.(?:action|operation|direction) = (?:[^;"]* )?"(\w+)")re");
    values.merge(FindNames(openhost, R"re(\b(?:Guard|WriteResult|WritePage|Tell|End)\(\s*"(\w+)")re"));
    values.merge(FindNames(openhost, R"re(\bTell\([^;"]*, "(\w+)"\))re"));
    values.merge(FindNames(Steps(), R"re(\{"\w+", "(\w+)", &)re"));
    values.merge(FindNames(openhost, R"re(description\["(\w+)"\])re"));
    const std::string transfers = TextOfSource("openhost/http/ZALCefHttpRequest.cpp");
    values.merge(FindNames(transfers, R"re(return "(\w+)";)re"));

    Names words;
    Names quoted;
    for (const Row& row : TableOf("Events of the journal")) {
        words.merge(FindNames(row[2], "(\\w+)"));
        quoted.merge(FindNames(row[2], "\"(\\w+)\""));
    }
    const Names missing = Without(values, words);
    EXPECT_LT(40U, values.size()) << "values are not found any more";
    EXPECT_TRUE(missing.empty()) << "docs/reference.md, values in the journal: missing" << ListOf(missing);
    ExpectKnown("values in the journal", FindNames(openhost, "\"(\\w+)\""), Without(quoted, {"0x80004005"}));
}

// ---------------------------------------------------------------------------------------------
// Page and module

const std::string& Handlers()
{
    static const std::string text = TextOfSource("installation/webapps/ZALVelmartIntegrationJS/OpApiHandlers.js");
    return text;
}

/// The members that the module reads from JSON texts.
Names MembersRead()
{
    return FindNames(StatementsWith(Module(), "MemberOf("), R"re(, "(\w+)"\))re");
}

Names OtherMembersRead()
{
    Names names = FindNames(Module(), R"re(MapGetValue\("(\w+)")re");
    names.merge(FindNames(Module(), R"re(GetText\(urls, "(\w+)")re"));
    return names;
}

TEST(Reference, HasTheMessagesOfThePage)
{
    const Names documented = NamesIn("Messages of the page", 0);
    ExpectSame("Messages of the page", FindNames(Module(), R"re(event == "(\w+)")re"), documented);
    ExpectSame("Messages of the page, in the handlers", FindNames(Handlers(), R"re(\["(velmart_\w+)")re"), documented);
}

TEST(Reference, HasTheMembersThatTheModuleReads)
{
    Names read = MembersRead();
    read.merge(OtherMembersRead());
    Names bridge = NamesIn("Methods of the bridge", 2);
    bridge.merge(NamesIn("Replies on the bridge", 2));

    Names documented = NamesIn("Members of the content", 0);
    ExpectKnown("Members of the content", read, documented);
    documented.insert(bridge.begin(), bridge.end());
    documented.insert({"event", "content", "method", "data", "query"}); // told in words
    const Names missing = Without(read, documented);
    EXPECT_TRUE(missing.empty()) << "docs/reference.md, members of the content or of the bridge: missing"
                                 << ListOf(missing);

    read.merge(FindNames(Module(), R"re(Attribute\("(\w+)")re"));
    read.insert("message"); // of an error, which is put together as text
    ExpectKnown("the bridge", read, Without(bridge, {"attributes"}));
}

TEST(Reference, HasTheEventsOfTheDocument)
{
    ExpectSame("Events of the document",
               FindNames(Handlers() + TextOfSource("openhost/panel/Panel.cpp"), "\"(velmart:\\w+)\""),
               NamesIn("Events of the document", 0));
}

TEST(Reference, HasTheReasonsOfTheHandlers)
{
    Names documented;
    for (const Row& row : TableOf("Reasons of the handlers"))
        documented.merge(FindNames(row[0], "`(.+)`"));
    ExpectSame("Reasons of the handlers", FindNames(Handlers(), "(?:return |\\? \"\" : )[\"`]([^\"`]+)[\"`]"),
               documented);
}

TEST(Reference, HasTheMethodsAndErrorsOfTheBridge)
{
    ExpectSame("Methods of the bridge", FindNames(Module(), R"re("method", "(\w+)"|method == "(\w+)")re"),
               NamesIn("Methods of the bridge", 0));
    ExpectSame("Error codes of the bridge", FindNames(Module(), R"re(Code = (-\d+);)re"),
               NamesIn("Error codes of the bridge", 0));
}

TEST(Reference, HasTheHeadersOfRequests)
{
    ExpectSame("Requests over HTTP", FindNames(Module(), R"re(AddValue\("([\w-]+)")re"),
               NamesIn("Requests over HTTP", 1));
}

// ---------------------------------------------------------------------------------------------
// Windows and questions

constexpr const char* MadeWindow =
    R"re((?:ZALDlgDialog|ZALDlgToolsOptionsFrame|CreateCurrentDocEnvDialogBox)\(\s*\w+, "(\w+)")re";

TEST(Reference, HasTheWindowsWithTheirControls)
{
    Names windows;
    Names controls; // with the file that makes them: a window and its controls are made in one
    Names documented;
    for (const auto& [file, text] : TextsBelow("module", ".cpp")) {
        const Names made = FindNames(text, MadeWindow);
        for (const std::string& control : FindNames(text, R"re(new ZALDlg(?!Notify)\w+\(\w+, "(\w+)")re"))
            controls.insert(file + ": " + control);
        for (const Row& row : TableOf("Windows"))
            for (const std::string& window : NamesIn(row[0]))
                if (made.contains(window))
                    for (const std::string& control : NamesIn(row[2]))
                        documented.insert(file + ": " + control);
        windows.insert(made.begin(), made.end());
    }
    ExpectSame("Windows", windows, NamesIn("Windows", 0));
    ExpectSame("Windows, controls", controls, documented);
}

TEST(Reference, HasTheStylesOfWindows)
{
    Names expected;
    const std::regex styled(R"re((?:ZALDlgDialog|CreateCurrentDocEnvDialogBox)\(\s*\w+, "(\w+)",\s*(ZALDlg\w+))re");
    for (std::sregex_iterator match(Module().begin(), Module().end(), styled), end; match != end; ++match)
        expected.insert((*match)[1].str() + " " + NumberOf((*match)[2]));
    Names documented;
    for (const Row& row : TableOf("Windows"))
        for (const std::string& style : NamesIn(row[1]))
            documented.insert(*NamesIn(row[0]).begin() + " " + style);
    ExpectSame("Windows, styles", expected, documented);
}

TEST(Reference, HasTheQuestionsWithTheirStyles)
{
    Names expected;
    const std::regex question(R"re("(\w+)", (ZALDlgNotify\w+)\))re");
    for (std::sregex_iterator match(Module().begin(), Module().end(), question), end; match != end; ++match)
        expected.insert((*match)[1].str() + " " + NumberOf((*match)[2]));
    for (const std::string& name : FindNames(Module(), R"re(ShowErrorBox\("(\w+)")re"))
        expected.insert(name + " " + NumberOf("ZALDlgNotifyError"));
    Names documented;
    for (const Row& row : TableOf("Questions"))
        documented.insert(*NamesIn(row[0]).begin() + " " + *NamesIn(row[1]).begin());
    ExpectSame("Questions", expected, documented);
}

TEST(Reference, HasTheNumbersOfAnswers)
{
    Names expected;
    for (const std::string& name : FindNames(TextOfSource("module/host/dialogs.h"), R"re(int ZALDlgAnswer(\w+) =)re"))
        expected.insert(name + " " + NumberOf("ZALDlgAnswer" + name));
    Names documented;
    for (const Row& row : TableOf("Numbers of answers"))
        documented.insert(*NamesIn(row[0]).begin() + " " + row[1]);
    ExpectSame("Numbers of answers", expected, documented);
}

/// The lines `KEY = "TEXT";` directly in the folder of `ending`, as "FILE KEY TEXT".
Names TextsOf(const std::string& folder, const std::string& ending)
{
    Names texts;
    const std::regex line("\n([\\w.]+) = \"(.*)\";");
    for (const auto& [file, text] : TextsBelow(folder, ending)) {
        const std::string name = file.substr(folder.size() + 1);
        if (name.find('/') != std::string::npos)
            continue; // another language
        for (std::sregex_iterator match(text.begin(), text.end(), line), end; match != end; ++match)
            texts.insert(name.substr(0, name.size() - ending.size()) + " " + (*match)[1].str() + " " +
                         (*match)[2].str());
    }
    return texts;
}

Names DocumentedTexts(const std::string& heading)
{
    Names texts;
    for (const Row& row : TableOf(heading))
        texts.insert(*NamesIn(row[0]).begin() + " " + *NamesIn(row[1]).begin() + " " +
                     row[2].substr(1, row[2].size() - 2));
    return texts;
}

TEST(Reference, HasTheTextsThatUsersRead)
{
    ExpectSame("Texts of windows", TextsOf("installation/resources/dialogs", ".ZALRsc"),
               DocumentedTexts("Texts of windows"));
    ExpectSame("Messages to the user", TextsOf("installation/resources/msgcatalog", ".ZALNls"),
               DocumentedTexts("Messages to the user"));
}

TEST(Reference, NamesTextsThatAreThere)
{
    const Names keys = NamesIn("Messages to the user", 1);
    ExpectKnown("Questions", keys, NamesIn("Questions", 3));
    ExpectKnown("Steps of Find Similar", keys, NamesIn("Steps of Find Similar", 1));
    ExpectKnown("Picks of insert and replace", keys, NamesIn("Picks of insert and replace", 1));
}

// ---------------------------------------------------------------------------------------------
// Commands, notifications, settings, environment

TEST(Reference, HasTheCommandsWithTheirStates)
{
    ExpectSame("Command classes", FindNames(Module(), R"re(class (ZALVelmart\w+) : public ZAL(?:State)?Command)re"),
               NamesIn("Command classes", 0));
    ExpectSame("Command classes, headers", FindNames(Module(), R"re(GetHeaderFromList\("(\w+)")re"),
               NamesIn("Command classes", 1));
    Names parts = FindNames(Module(), R"re((?:GetInitialState|AddDialogState)\("(\w+)"\))re");
    ExpectKnown("Picks of insert and replace", parts, NamesIn("Picks of insert and replace", 0));
    parts.merge(FindNames(Module(), R"re(new ZAL\w*Agent\("(\w+)")re"));
    ExpectSame("Command classes, states and agents", parts, NamesIn("Command classes", 3));
}

TEST(Reference, HasTheNotifications)
{
    const Names own = FindNames(Module(), R"re(VL_DEFINE_META_CLASS\(([\w:]+), ZALNotification\))re");
    ExpectSame("Notifications of the module", own, NamesIn("Notifications of the module", 0));
    const Names subscribed =
        FindNames(StatementsWith(AllBelow("module", ".cpp"), "AddCallback("), R"re(([\w:]+)::ClassName\(\))re");
    ExpectSame("Notifications of the host", Without(subscribed, own), [&] {
        Names documented = NamesIn("Notifications of the host", 0);
        // The short names by which a class knows its own.
        for (const std::string& name : Without(subscribed, own))
            if (own.contains("ZALVelmart" + name))
                documented.insert(name);
        return documented;
    }());
}

TEST(Reference, HasTheSettings)
{
    ExpectSame("Settings",
               FindNames(TextOfSource("openhost/settings/SettingsStore.h"),
                         R"re(static constexpr const char\* \w+ = "(\w+)")re"),
               NamesIn("Settings", 0));
}

TEST(Reference, HasTheEnvironmentVariables)
{
    Names variables;
    Names readers; // of variables whose name the text does not say
    for (const char* folder : {"module", "openhost", "catalogue"})
        for (const char* ending : {".cpp", ".h"})
            for (const auto& [file, text] : TextsBelow(folder, ending)) {
                variables.merge(FindNames(
                    text,
                    R"re((?:ZALGetEnv|getenv|OrFromEnvironment|qEnvironmentVariable\w*|qputenv|Default)\("(\w+)")re"));
                if (!FindNames(text, R"re(((?:ZALGetEnv|getenv|envname|qEnvironmentVariable\w*)\([^"]))re").empty())
                    readers.insert(file);
            }
    variables.merge(FindNames(TextOfSource("openhost/files/PathVariables.h"), R"re(Variable = "(\w+)")re"));
    ExpectSame("Environment variables", variables, NamesIn("Environment variables", 0));

    const Names known = {"module/host/system.h",                  // declares the getter
                         "openhost/commandline/CommandLine.cpp",  // what OrFromEnvironment is called with
                         "openhost/files/SystemServices.cpp",     // defines it
                         "openhost/files/PathVariables.cpp",      // the path variables
                         "openhost/commandline/CommandLine.cpp",  // what OrFromEnvironment is called with
                         "openhost/desktop/QtDesktop.cpp",        // what Default is called with
                         "openhost/play/EnvironmentChanges.cpp"}; // what a session sets
    EXPECT_EQ(known, readers) << "a variable whose name is not a text where it is read escapes this test";
}

TEST(Reference, HasThePathVariables)
{
    ExpectSame("Path variables", FindNames(Module(), R"re(OfficialVariable\((?:[^;"]*, )?"(\w+)")re"),
               NamesIn("Path variables", 0));
}

} // namespace

} // namespace openhost::testing
