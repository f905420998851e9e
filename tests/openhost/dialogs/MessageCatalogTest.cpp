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
    EXPECT_EQ(Build("Key"), "default");
    Write("msgcatalog/Catalog.ZALNls", "Key = \"The text.\";\nNothing = \"\";");
    EXPECT_EQ(Build("Key"), "The text.");
    EXPECT_EQ(Build("Nothing"), "");
}

TEST_F(MessageCatalog, FallsBackOnTheDefaultText)
{
    EXPECT_EQ(Build("Key"), "default");
    EXPECT_EQ(Build("Key", {"31"}, "and /P1 others"), "and 31 others");
    UnsetPathVariable(InstallationVariable);
    EXPECT_EQ(Build("Key"), "default");
}

TEST_F(MessageCatalog, ReplacesParametersWhereverTheyStand)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"/P2 and /P1, /P1/P2\";\nTen = \"/P10\";\nAlone = \"/P1\";");
    EXPECT_EQ(Build("Key", {"one", "two"}), "two and one, onetwo");
    EXPECT_EQ(Build("Ten", {"one"}), "one0");
    EXPECT_EQ(Build("Alone", {""}), "");
}

TEST_F(MessageCatalog, LeavesAloneWhatIsNoParameter)
{
    Write("msgcatalog/Catalog.ZALNls", "Key = \"/P2 /P0 /p1 /P /P\";\n");
    EXPECT_EQ(Build("Key", {"one"}), "/P2 /P0 /p1 /P /P");
    EXPECT_EQ(Build("Key"), "/P2 /P0 /p1 /P /P");
    const ZALUnicodeString parameter = "one";
    EXPECT_EQ(ToUtf8(ZALMsgCatalog::BuildMessage("None", "Key", &parameter, -1, "/P1")), "/P1");
    EXPECT_EQ(ToUtf8(ZALMsgCatalog::BuildMessage("None", "Key", nullptr, 3, "/P1")), "/P1");
}

TEST_F(MessageCatalog, DoesNotReplaceInsideAParameter)
{
    EXPECT_EQ(Build("Key", {"/P2", "/P1"}, "/P1-/P2"), "/P2-/P1");
    EXPECT_EQ(Build("Key", {"/P", "x"}, "/P12"), "/P2");
}

TEST_F(MessageCatalog, TakesNineParameters)
{
    EXPECT_EQ(Build("Key", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}, "/P9/P8/P1"), "981");
}

} // namespace
} // namespace openhost
