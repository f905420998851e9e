#include "TextFixture.h"

namespace openhost {
namespace {

std::string Text(const std::string& bytes, const std::string& key)
{
    const auto texts = ParseTexts(bytes);
    const auto text = texts.find(key);
    return text != texts.end() ? ToUtf8(text->second) : "(none)";
}

TEST(TextFile, HoldsOneTextALine)
{
    const std::string bytes = "First = \"One\";\n\nSecond.Title=\"Two\" ;\n  Third\t= \"Three\";";
    EXPECT_EQ(Text(bytes, "First"), "One");
    EXPECT_EQ(Text(bytes, "Second.Title"), "Two");
    EXPECT_EQ(Text(bytes, "Third"), "Three");
    EXPECT_EQ(ParseTexts(bytes).size(), 3U);
}

TEST(TextFile, MayHaveCommentsAndWindowsLineEnds)
{
    const std::string bytes = "\xEF\xBB\xBF// Key = \"commented\";\r\nKey = \"a // b\"; // behind\r\n";
    EXPECT_EQ(Text(bytes, "Key"), "a // b");
    EXPECT_EQ(ParseTexts(bytes).size(), 1U);
}

TEST(TextFile, KnowsFourEscapes)
{
    EXPECT_EQ(Text(R"(Key = "a\nb\tc\"d\\n";)", "Key"), "a\nb\tc\"d\\n");
}

TEST(TextFile, MayHaveEmptyTextsAndTextsBeyondAscii)
{
    EXPECT_EQ(Text("Key = \"\";", "Key"), "");
    EXPECT_EQ(Text("Key = \"Ähnliche 😀\";", "Key"), "Ähnliche 😀");
}

TEST(TextFile, SkipsEachMalformedLineAndNoOther)
{
    for (const std::string line :
         {"Key", "Key =", "Key = \"open", "Key = \"open\\", "Key = \"text\"", "Key = \"text\"; more", "= \"text\";",
          "Key \"text\";", "Key = text;", "Two Words = \"text\";", "Key = \"bad \\q escape\";", "Key = \"\xFF\xFE\";",
          "Schlüssel = \"text\";", "Key = \"\xC3\";"})
        EXPECT_EQ(Text(line + "\nNext = \"next\";", "Next"), "next") << line;
    for (const std::string line : {"Key = \"text\"", "Key = \"text\"; more", "Key = \"\xC3\";", "Key = \"open"})
        EXPECT_EQ(Text(line, "Key"), "(none)") << line;
}

TEST(TextFile, GivesTheFirstOfTwoTextsWithOneKey)
{
    EXPECT_EQ(Text("Key = \"first\";\nKey = \"second\";", "Key"), "first");
}

TEST(TextFile, OfArbitraryBytesIsHarmless)
{
    EXPECT_TRUE(ParseTexts("").empty());
    EXPECT_TRUE(ParseTexts(std::string(100'000, '\0')).empty());
    EXPECT_TRUE(ParseTexts(std::string(100'000, '"')).empty());
    EXPECT_TRUE(ParseTexts("K = \"" + std::string(100'000, '\\')).empty());
    EXPECT_TRUE(ParseTexts(std::string(100'000, '\n')).empty());
}

// ---------------------------------------------------------------------------------------------
// Files

using TextFiles = TextFixture;

std::string Find(const std::string& name, const std::string& key, TextKind kind = TextKind::MessageCatalog)
{
    const auto text = FindText(kind, name, key);
    return text ? ToUtf8(*text) : "(none)";
}

TEST_F(TextFiles, StandInTwoFoldersByTheirKind)
{
    Write("msgcatalog/Same.ZALNls", "Key = \"message\";");
    Write("dialogs/Same.ZALRsc", "Key = \"dialog\";");
    EXPECT_EQ(Find("Same", "Key"), "message");
    EXPECT_EQ(Find("Same", "Key", TextKind::DialogResource), "dialog");
}

TEST_F(TextFiles, AreInTheLanguageThatWasSet)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"English\"; \n OnlyEnglish = \"left in English\";");
    Write("msgcatalog/German/Catalog.ZALNls", "Key = \"Deutsch\";");
    EXPECT_EQ(Find("Catalog", "Key"), "English");
    SetLanguage("German");
    EXPECT_EQ(Find("Catalog", "Key"), "Deutsch");
    EXPECT_EQ(Find("Catalog", "OnlyEnglish"), "left in English");
    EXPECT_EQ(Find("Catalog", "Absent"), "(none)");
    SetLanguage("Unknown");
    EXPECT_EQ(Find("Catalog", "Key"), "English");
    SetLanguage("");
    EXPECT_EQ(Find("Catalog", "Key"), "English");
}

TEST_F(TextFiles, AreInTheLanguageOfTheEnvironmentUnlessOneWasSet)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"English\";");
    Write("msgcatalog/German/Catalog.ZALNls", "Key = \"Deutsch\";");
    setenv("ZALLanguage", "German", 1);
    EXPECT_EQ(Language(), "German");
    EXPECT_EQ(Find("Catalog", "Key"), "Deutsch");
    SetLanguage("English");
    EXPECT_EQ(Find("Catalog", "Key"), "English");
    SetLanguage("");
    setenv("ZALLanguage", "", 1);
    EXPECT_EQ(Language(), "English");
}

TEST_F(TextFiles, AreNeverSoughtOutsideTheirFolder)
{
    Write("secret.ZALNls", "Key = \"secret\";");
    Write("msgcatalog/.hidden.ZALNls", "Key = \"secret\";");
    EXPECT_EQ(Find("../secret", "Key"), "(none)");
    EXPECT_EQ(Find("..\\secret", "Key"), "(none)");
    EXPECT_EQ(Find((installation.Path() / "resources" / "secret").string(), "Key"), "(none)");
    EXPECT_EQ(Find(".hidden", "Key"), "(none)");
    EXPECT_EQ(Find("", "Key"), "(none)");
    EXPECT_EQ(Find(std::string(5000, 'a'), "Key"), "(none)");
    Write("secret/Catalog.ZALNls", "Key = \"secret\";");
    SetLanguage("../secret");
    EXPECT_EQ(Find("Catalog", "Key"), "(none)");
}

TEST_F(TextFiles, CountAsAbsentWhenTheyAreTooLargeOrNoFiles)
{
    const std::string text = "Key = \"text\";\n";
    Write("msgcatalog/Full.ZALNls", text + std::string(MaximumTextFileSize - text.size(), '\n'));
    EXPECT_EQ(Find("Full", "Key"), "text");
    Write("msgcatalog/TooFull.ZALNls", text + std::string(MaximumTextFileSize - text.size() + 1, '\n'));
    EXPECT_EQ(Find("TooFull", "Key"), "(none)");
    std::filesystem::create_directories(installation.Path() / "resources/msgcatalog/Folder.ZALNls");
    EXPECT_EQ(Find("Folder", "Key"), "(none)");
}

TEST_F(TextFiles, AreFoundBelowAnInstallationNamedWithBackslashes)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"text\";");
    std::string path = installation.Path().string();
    std::replace(path.begin(), path.end(), '/', '\\');
    SetPathVariable(InstallationVariable, path);
    EXPECT_EQ(Find("Catalog", "Key"), "text");
}

} // namespace
} // namespace openhost
