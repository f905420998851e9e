// Where an insert or a replace may start, and what the user is told when it may not.

#include "tests/support/HostFixture.h"

#include "insertion/DocumentInsertion.h"
#include "openhost/dialogs/DialogNode.h"

#include <cstdint>
#include <filesystem>
#include <fstream>

namespace openhost::testing {

namespace {

constexpr const char* DefaultText = "Transaction has failed";

class InsertReplaceContext : public HostFixture {
protected:
    void InstallCatalog(const std::string& lines)
    {
        const std::filesystem::path folder = Folder() / "installation" / "resources" / "msgcatalog";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "ZALVelmartMeridiaAccessAddinActionCmd.ZALNls") << lines;
    }
};

// ---------------------------------------------------------------------------------------------
// The check

class OtherAction : public InsertReplaceContext, public ::testing::WithParamInterface<int> {};

TEST_P(OtherAction, IsAllowedAnywhere)
{
    ResetFrame();
    EXPECT_EQ(S_OK, CheckInsertReplaceContext(GetParam()));
    EXPECT_TRUE(Surface().Questions().empty());
}

INSTANTIATE_TEST_SUITE_P(Actions, OtherAction, ::testing::Values(0, 1, 2, 5, -1, -3, 3 + 256, INT32_MAX, INT32_MIN));

class InsertAndReplace : public InsertReplaceContext, public ::testing::WithParamInterface<int> {};

TEST_P(InsertAndReplace, AreAllowedInTheProductWorkshop)
{
    ConfigureFrame({.editor = true});
    EXPECT_EQ(S_OK, CheckInsertReplaceContext(GetParam()));
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_P(InsertAndReplace, AreRefusedInAnyOtherWorkshop)
{
    for (const char* workshop : {"", "PartWorkshop", "prdworkshop", "PRDWorkshop ", "PRDWorksho", "PRDWorkshop2"}) {
        ConfigureFrame({.workshop = workshop, .editor = true});
        EXPECT_EQ(E_FAIL, CheckInsertReplaceContext(GetParam())) << workshop;
    }
    EXPECT_EQ(6U, Surface().Questions().size());
}

TEST_P(InsertAndReplace, AreRefusedWithoutAnEditor)
{
    ConfigureFrame({.workshop = "PRDWorkshop", .editor = false});
    EXPECT_EQ(E_FAIL, CheckInsertReplaceContext(GetParam()));
    EXPECT_EQ(1U, Surface().Questions().size());
}

TEST_P(InsertAndReplace, AreRefusedWithoutAFrame)
{
    ConfigureFrame({.exists = false, .editor = true});
    EXPECT_EQ(E_FAIL, CheckInsertReplaceContext(GetParam()));
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("", Surface().Questions()[0].parent);
}

TEST_P(InsertAndReplace, AreRefusedWithTheTextOfTheirKey)
{
    InstallCatalog("InvalidContextForInsertReplace = \"Not here\";\n");
    EXPECT_EQ(E_FAIL, CheckInsertReplaceContext(GetParam()));
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("Not here", Surface().Questions()[0].text);
}

INSTANTIATE_TEST_SUITE_P(Actions, InsertAndReplace, ::testing::Values(3, 4));

// ---------------------------------------------------------------------------------------------
// Messages

TEST_F(InsertReplaceContext, TheMessageIsAsRequired)
{
    NotifyCommandError("InsertFailed");
    ASSERT_EQ(1U, Surface().Questions().size());
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ("FileOpenInsertReplaceErrorNotify", question.name);
    EXPECT_EQ(16384U, question.style);
    EXPECT_EQ("MainWindow", question.parent);
    EXPECT_EQ("", question.title);
    EXPECT_EQ(DefaultText, question.text);
}

TEST_F(InsertReplaceContext, TheMessageOfAKeyComesFromTheCatalogOfTheCommand)
{
    InstallCatalog("InsertFailed = \"No room for /P1\";\n");
    NotifyCommandError("InsertFailed");
    NotifyCommandError("ReplaceFailed");
    ASSERT_EQ(2U, Surface().Questions().size());
    EXPECT_EQ("No room for /P1", Surface().Questions()[0].text); // there are no parameters
    EXPECT_EQ(DefaultText, Surface().Questions()[1].text);
}

TEST_F(InsertReplaceContext, AnEmptyTextIsNotShown)
{
    ShowCommandErrorText("");
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(InsertReplaceContext, ATextOfOneCharacterIsShown)
{
    ShowCommandErrorText("x");
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("x", Surface().Questions()[0].text);
}

TEST_F(InsertReplaceContext, TheMessageEndsBetweenEvents)
{
    const std::size_t before = LiveDialogs().size();
    ShowCommandErrorText("x");
    EXPECT_EQ(LiveDialogs().size(), before + 1);
    Loop().RunUntilIdle();
    EXPECT_EQ(LiveDialogs().size(), before);
}

TEST_F(InsertReplaceContext, TheFrameMayEndWhileTheMessageIsUp)
{
    Loop().Post([] { ResetFrame(); });
    ShowCommandErrorText("x");
    Loop().RunUntilIdle();
    EXPECT_TRUE(LiveDialogs().empty());
}

// ---------------------------------------------------------------------------------------------
// Opening

TEST_F(InsertReplaceContext, AnEmptyListIsNotOpened)
{
    EXPECT_EQ(E_FAIL, OpenDownloadedDocument({}, "File"));
    EXPECT_EQ(0, BusyCursorCount());
}

TEST_F(InsertReplaceContext, OpeningWithoutAFrameFails)
{
    ResetFrame();
    ZALListValZALUnicodeString paths;
    paths.Append("/parts/a.ZALPart");
    EXPECT_EQ(E_FAIL, OpenDownloadedDocument(paths, "UT5"));
    EXPECT_TRUE(Notifications().empty());
}

} // namespace

} // namespace openhost::testing
