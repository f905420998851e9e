#include "TextFixture.h"

namespace openhost {
namespace {

using MessageCatalog = TextFixture;

std::string Build(const char* key, const std::vector<ZALUnicodeString>& parameters = {},
                  const char* defaultText = "default")
{
    return ToUtf8(ZALMsgCatalog::BuildMessage("Catalog", key, parameters.data(), static_cast<int>(parameters.size()),
                                              defaultText));
}

TEST_F(MessageCatalog, GivesTheTextOfTheKey)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"The text.\"; Empty = \"\";\nNothing = \"\";");
    EXPECT_EQ("default", Build("Key"));
    Write("msgcatalog/Catalog.ZALNls", "Key = \"The text.\";\nNothing = \"\";");
    EXPECT_EQ("The text.", Build("Key"));
    EXPECT_EQ("", Build("Nothing"));
}

TEST_F(MessageCatalog, FallsBackOnTheDefaultText)
{
    EXPECT_EQ("default", Build("Key"));
    EXPECT_EQ("and 31 others", Build("Key", {"31"}, "and /P1 others"));
    UnsetPathVariable(InstallationVariable);
    EXPECT_EQ("default", Build("Key"));
}

TEST_F(MessageCatalog, ReplacesParametersWhereverTheyStand)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"/P2 and /P1, /P1/P2\";\nTen = \"/P10\";\nAlone = \"/P1\";");
    EXPECT_EQ("two and one, onetwo", Build("Key", {"one", "two"}));
    EXPECT_EQ("one0", Build("Ten", {"one"}));
    EXPECT_EQ("", Build("Alone", {""}));
    EXPECT_EQ("981", Build("None", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}, "/P9/P8/P1"));
    EXPECT_EQ("/P2-/P1", Build("None", {"/P2", "/P1"}, "/P1-/P2")) << "nothing is replaced inside a parameter";
    EXPECT_EQ("/P2", Build("None", {"/P", "x"}, "/P12"));
}

TEST_F(MessageCatalog, LeavesAloneWhatIsNoParameter)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"/P2 /P0 /p1 /P /P\";\n");
    EXPECT_EQ("/P2 /P0 /p1 /P /P", Build("Key", {"one"}));
    EXPECT_EQ("/P2 /P0 /p1 /P /P", Build("Key"));
    const ZALUnicodeString parameter = "one";
    EXPECT_EQ("/P1", ToUtf8(ZALMsgCatalog::BuildMessage("None", "Key", &parameter, -1, "/P1")));
    EXPECT_EQ("/P1", ToUtf8(ZALMsgCatalog::BuildMessage("None", "Key", nullptr, 3, "/P1")));
}

} // namespace
} // namespace openhost
