// The words of the window in all its languages.

#include "openhost/desktop/window/Words.h"
#include "openhost/desktop/window/GermanWords.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>

namespace openhost::testing {

namespace {

/// What the sources of the window give to be translated, with their files.
std::map<std::string, std::string> TextsOfSources()
{
    // Texts that are one literal in a call of the functions that translate.
    const std::regex call(R"re(\b(?:Words|tr|text|title|menu|name)\((?:[\w*>-]+, )?"((?:[^"\\]|\\.)*)")re");
    std::map<std::string, std::string> texts;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(SourceDir() + "/openhost/desktop")) {
        if (entry.path().extension() != ".cpp" || entry.path().filename() == "GermanWords.cpp")
            continue;
        const std::string source = ReadFile(entry.path());
        for (std::sregex_iterator found(source.begin(), source.end(), call), end; found != end; ++found)
            texts[(*found)[1]] = entry.path().filename().string();
    }
    return texts;
}

TEST(GermanWordsTest, HaveEachTextOfTheWindow)
{
    std::map<std::string, std::string> german(GermanWords().begin(), GermanWords().end());
    const auto texts = TextsOfSources();
    EXPECT_LT(100U, texts.size());
    for (const auto& [text, file] : texts)
        EXPECT_TRUE(german.contains(text)) << file << ": " << text;
}

TEST(GermanWordsTest, StandOnceEachAndKeepTheirPlaceholders)
{
    std::map<std::string, std::string> seen;
    for (const auto& [english, german] : GermanWords()) {
        EXPECT_TRUE(seen.emplace(english, german).second) << english;
        for (const char* placeholder : {"%1", "%2"})
            EXPECT_EQ(std::string(english).find(placeholder) == std::string::npos,
                      std::string(german).find(placeholder) == std::string::npos)
                << english;
    }
}

TEST(WordsTest, FollowTheLanguageInUse)
{
    UseWords("German");
    EXPECT_EQ("Produktbaum", Words("Product tree"));
    EXPECT_EQ("de", LanguageCode());
    UseWords("English");
    EXPECT_EQ("Product tree", Words("Product tree"));
    EXPECT_EQ("nothing that is known", Words("nothing that is known"));
}

} // namespace

} // namespace openhost::testing
