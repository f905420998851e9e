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
    EXPECT_EQ("One", Text(bytes, "First"));
    EXPECT_EQ("Two", Text(bytes, "Second.Title"));
    EXPECT_EQ("Three", Text(bytes, "Third"));
    EXPECT_EQ(3U, ParseTexts(bytes).size());
    EXPECT_EQ("first", Text("Key = \"first\";\nKey = \"second\";", "Key"));
}

TEST(TextFile, MayHaveCommentsEscapesAndAnyTexts)
{
    const std::string bytes = "\xEF\xBB\xBF// Key = \"commented\";\r\nKey = \"a // b\"; // behind\r\n";
    EXPECT_EQ("a // b", Text(bytes, "Key"));
    EXPECT_EQ(1U, ParseTexts(bytes).size());
    EXPECT_EQ("a\nb\tc\"d\\n", Text(R"(Key = "a\nb\tc\"d\\n";)", "Key"));
    EXPECT_EQ("", Text("Key = \"\";", "Key"));
    EXPECT_EQ("Ähnliche 😀", Text("Key = \"Ähnliche 😀\";", "Key"));
}

TEST(TextFile, SkipsEachMalformedLineAndNoOther)
{
    for (const std::string line :
         {"Key", "Key =", "Key = \"open", "Key = \"open\\", "Key = \"text\"", "Key = \"text\"; more", "= \"text\";",
          "Key \"text\";", "Key = text;", "Two Words = \"text\";", "Key = \"bad \\q escape\";", "Key = \"\xFF\xFE\";",
          "Schlüssel = \"text\";", "Key = \"\xC3\";"})
        EXPECT_EQ("next", Text(line + "\nNext = \"next\";", "Next")) << line;
    for (const std::string line : {"Key = \"text\"", "Key = \"text\"; more", "Key = \"\xC3\";", "Key = \"open"})
        EXPECT_EQ("(none)", Text(line, "Key")) << line;
}

TEST(TextFile, OfArbitraryBytesIsHarmless)
{
    EXPECT_TRUE(ParseTexts("").empty());
    for (const char byte : {'\0', '"', '\n'})
        EXPECT_TRUE(ParseTexts(std::string(100'000, byte)).empty());
    EXPECT_TRUE(ParseTexts("K = \"" + std::string(100'000, '\\')).empty());
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
    EXPECT_EQ("message", Find("Same", "Key"));
    EXPECT_EQ("dialog", Find("Same", "Key", TextKind::DialogResource));
}

TEST_F(TextFiles, AreInTheLanguageThatWasSetOrElseThatOfTheEnvironment)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"English\"; \n OnlyEnglish = \"left in English\";");
    Write("msgcatalog/German/Catalog.ZALNls", "Key = \"Deutsch\";");
    EXPECT_EQ("English", Find("Catalog", "Key"));
    SetLanguage("German");
    EXPECT_EQ("Deutsch", Find("Catalog", "Key"));
    EXPECT_EQ("left in English", Find("Catalog", "OnlyEnglish"));
    EXPECT_EQ("(none)", Find("Catalog", "Absent"));
    SetLanguage("Unknown");
    EXPECT_EQ("English", Find("Catalog", "Key"));

    SetLanguage("");
    EXPECT_EQ("English", Find("Catalog", "Key"));
    setenv("ZALLanguage", "German", 1);
    EXPECT_EQ("German", Language());
    EXPECT_EQ("Deutsch", Find("Catalog", "Key"));
    SetLanguage("English");
    EXPECT_EQ("English", Find("Catalog", "Key"));
    SetLanguage("");
    setenv("ZALLanguage", "", 1);
    EXPECT_EQ("English", Language());
}

TEST_F(TextFiles, AreNeverSoughtOutsideTheirFolder)
{
    Write("secret.ZALNls", "Key = \"secret\";");
    Write("msgcatalog/.hidden.ZALNls", "Key = \"secret\";");
    Write("secret/Catalog.ZALNls", "Key = \"secret\";");
    for (const std::string& name :
         {std::string("../secret"), std::string("..\\secret"), (installation.Path() / "resources" / "secret").string(),
          std::string(".hidden"), std::string(), std::string(5000, 'a')})
        EXPECT_EQ("(none)", Find(name, "Key")) << name;
    SetLanguage("../secret");
    EXPECT_EQ("(none)", Find("Catalog", "Key"));
}

TEST_F(TextFiles, CountAsAbsentWhenTheyAreTooLargeOrNoFiles)
{
    const std::string text = "Key = \"text\";\n";
    Write("msgcatalog/Full.ZALNls", text + std::string(MaximumTextFileSize - text.size(), '\n'));
    EXPECT_EQ("text", Find("Full", "Key"));
    Write("msgcatalog/TooFull.ZALNls", text + std::string(MaximumTextFileSize - text.size() + 1, '\n'));
    EXPECT_EQ("(none)", Find("TooFull", "Key"));
    std::filesystem::create_directories(installation.Path() / "resources/msgcatalog/Folder.ZALNls");
    EXPECT_EQ("(none)", Find("Folder", "Key"));
}

TEST_F(TextFiles, AreFoundBelowAnInstallationNamedWithBackslashes)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"text\";");
    std::string path = installation.Path().string();
    std::replace(path.begin(), path.end(), '/', '\\');
    SetPathVariable(InstallationVariable, path);
    EXPECT_EQ("text", Find("Catalog", "Key"));
}

} // namespace
} // namespace openhost
