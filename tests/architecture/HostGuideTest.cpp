// docs/host-guide.md, held against the headers that it explains.

#include "tests/architecture/SourceTree.h"

#include <gmock/gmock.h>

#include <regex>

namespace openhost::testing {

namespace {

using Names = std::set<std::string>;

Names FindNames(const std::string& text, const std::string& pattern)
{
    const std::regex expression(pattern, std::regex::ECMAScript | std::regex::multiline);
    Names found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
        found.insert((*match)[1]);
    return found;
}

/// The sections of the guide by the headers that they are named after.
std::map<std::string, std::string> Sections()
{
    const std::string guide = TextOfSource("docs/host-guide.md");
    const std::string headings = "\n### ";
    std::map<std::string, std::string> sections;
    for (std::size_t begin = guide.find(headings); begin != std::string::npos;) {
        begin += headings.size();
        const std::size_t end = guide.find(headings, begin);
        const std::string name = guide.substr(begin, guide.find('\n', begin) - begin);
        if (name.ends_with(".h"))
            sections[name] = guide.substr(begin, end == std::string::npos ? end : end - begin);
        begin = end;
    }
    return sections;
}

std::map<std::string, std::string> Headers()
{
    std::map<std::string, std::string> headers;
    for (const auto& [file, text] : TextsBelow("module/host", ".h"))
        headers[file.substr(file.rfind('/') + 1)] = text;
    return headers;
}

/// The classes and functions that stand in a header, not those that are only announced.
Names DeclaredIn(const std::string& header)
{
    Names names = FindNames(header, R"(^(?:class|struct|enum) (\w+)(?: :[^;{]*| )\{)");
    // A declaration at the left edge: a type, a name, parameters, and no content.
    names.merge(
        FindNames(header, R"(^(?!using|return|inline constexpr|#|//)[A-Za-z][\w:<>*& ]*[ *&](\w+)\([^{};]*\);)"));
    return names;
}

TEST(HostGuide, HasASectionForEachHeader)
{
    Names headers;
    for (const auto& [name, text] : Headers())
        headers.insert(name);
    Names sections;
    for (const auto& [name, text] : Sections())
        sections.insert(name);
    EXPECT_THAT(sections, ::testing::ContainerEq(headers));
}

TEST(HostGuide, NamesWhatEachHeaderDeclares)
{
    std::size_t count = 0;
    std::map<std::string, std::string> sections = Sections();
    for (const auto& [header, text] : Headers()) {
        const Names named = FindNames(sections[header], "`(\\w+)`");
        for (const std::string& name : DeclaredIn(text)) {
            ++count;
            EXPECT_TRUE(named.contains(name)) << "docs/host-guide.md, " << header << ": " << name;
        }
    }
    EXPECT_LT(100U, count) << "declarations are not found any more";
}

TEST(HostGuide, NamesNothingThatTheHeadersDoNotHave)
{
    const Names known = WordsIn("module/host");
    const std::map<std::string, std::string> headers = Headers();
    for (const auto& [header, text] : Sections()) {
        const std::string section = std::regex_replace(text, std::regex("`ZAL(?:Temp|InstallPath)`"), "");
        for (const std::string& name : FindNames(section, "`((?:ZAL|KRY)\\w+)`"))
            EXPECT_TRUE(known.contains(name)) << "docs/host-guide.md, " << header << ": " << name;
    }
}

TEST(HostGuide, HasTheClassesThatTheModuleRegisters)
{
    const std::string registration = TextOfSource("module/Registration.cpp");
    Names registered = FindNames(registration, R"re(RegisterFunctionCreation\("(\w+)")re");
    registered.merge(FindNames(registration, R"re(\w+Entry\("(\w+)", fct)re"));

    const std::string guide = TextOfSource("docs/host-guide.md");
    const std::size_t begin = guide.find("### What the module registers");
    ASSERT_NE(std::string::npos, begin);
    const std::string table = guide.substr(begin, guide.find("\n## ", begin) - begin);
    EXPECT_THAT(FindNames(table, "^\\| `(\\w+)`"), ::testing::ContainerEq(registered));
}

} // namespace

} // namespace openhost::testing
