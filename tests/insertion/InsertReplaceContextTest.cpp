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
    EXPECT_EQ(CheckInsertReplaceContext(GetParam()), S_OK);
    EXPECT_TRUE(Surface().Questions().empty());
}

INSTANTIATE_TEST_SUITE_P(Actions, OtherAction, ::testing::Values(0, 1, 2, 5, -1, -3, 3 + 256, INT32_MAX, INT32_MIN));

class InsertAndReplace : public InsertReplaceContext, public ::testing::WithParamInterface<int> {};

TEST_P(InsertAndReplace, AreAllowedInTheProductWorkshop)
{
    ConfigureFrame({.editor = true});
    EXPECT_EQ(CheckInsertReplaceContext(GetParam()), S_OK);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_P(InsertAndReplace, AreRefusedInAnyOtherWorkshop)
{
    for (const char* workshop : {"", "PartWorkshop", "prdworkshop", "PRDWorkshop ", "PRDWorksho", "PRDWorkshop2"}) {
        ConfigureFrame({.workshop = workshop, .editor = true});
        EXPECT_EQ(CheckInsertReplaceContext(GetParam()), E_FAIL) << workshop;
    }
    EXPECT_EQ(Surface().Questions().size(), 6U);
}

TEST_P(InsertAndReplace, AreRefusedWithoutAnEditor)
{
    ConfigureFrame({.workshop = "PRDWorkshop", .editor = false});
    EXPECT_EQ(CheckInsertReplaceContext(GetParam()), E_FAIL);
    EXPECT_EQ(Surface().Questions().size(), 1U);
}

TEST_P(InsertAndReplace, AreRefusedWithoutAFrame)
{
    ConfigureFrame({.exists = false, .editor = true});
    EXPECT_EQ(CheckInsertReplaceContext(GetParam()), E_FAIL);
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions()[0].parent, "");
}

TEST_P(InsertAndReplace, AreRefusedWithTheTextOfTheirKey)
{
    InstallCatalog("InvalidContextForInsertReplace = \"Not here\";\n");
    EXPECT_EQ(CheckInsertReplaceContext(GetParam()), E_FAIL);
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions()[0].text, "Not here");
}

INSTANTIATE_TEST_SUITE_P(Actions, InsertAndReplace, ::testing::Values(3, 4));

// ---------------------------------------------------------------------------------------------
// Messages

TEST_F(InsertReplaceContext, TheMessageIsAsRequired)
{
    NotifyCommandError("InsertFailed");
    ASSERT_EQ(Surface().Questions().size(), 1U);
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ(question.name, "FileOpenInsertReplaceErrorNotify");
    EXPECT_EQ(question.style, 16384U);
    EXPECT_EQ(question.parent, "MainWindow");
    EXPECT_EQ(question.title, "");
    EXPECT_EQ(question.text, DefaultText);
}

TEST_F(InsertReplaceContext, TheMessageOfAKeyComesFromTheCatalogOfTheCommand)
{
    InstallCatalog("InsertFailed = \"No room for /P1\";\n");
    NotifyCommandError("InsertFailed");
    NotifyCommandError("ReplaceFailed");
    ASSERT_EQ(Surface().Questions().size(), 2U);
    EXPECT_EQ(Surface().Questions()[0].text, "No room for /P1"); // there are no parameters
    EXPECT_EQ(Surface().Questions()[1].text, DefaultText);
}

TEST_F(InsertReplaceContext, AnEmptyTextIsNotShown)
{
    ShowCommandErrorText("");
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(InsertReplaceContext, ATextOfOneCharacterIsShown)
{
    ShowCommandErrorText("x");
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions()[0].text, "x");
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
    EXPECT_EQ(OpenDownloadedDocument({}, "File"), E_FAIL);
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(InsertReplaceContext, OpeningWithoutAFrameFails)
{
    ResetFrame();
    ZALListValZALUnicodeString paths;
    paths.Append("/parts/a.ZALPart");
    EXPECT_EQ(OpenDownloadedDocument(paths, "UT5"), E_FAIL);
    EXPECT_TRUE(Notifications().empty());
}

} // namespace

} // namespace openhost::testing
