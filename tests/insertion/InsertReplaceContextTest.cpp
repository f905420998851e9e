// Where an insert or a replace may start, and what the user is told when it may not.

#include "tests/insertion/OperationFixture.h"

#include "insertion/DocumentInsertion.h"

#include <cstdint>

namespace openhost::testing {

namespace {

constexpr const char* DefaultText = "Transaction has failed";

class InsertReplaceContext : public WorkspaceFixture {};

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

TEST_P(InsertAndReplace, AreRefusedWithoutAnEditorAndWithoutAFrame)
{
    InstallCatalog("InvalidContextForInsertReplace = \"Not here\";\n");
    for (const bool exists : {true, false}) {
        ConfigureFrame({.exists = exists, .workshop = "PRDWorkshop", .editor = !exists});
        EXPECT_EQ(E_FAIL, CheckInsertReplaceContext(GetParam()));
        EXPECT_EQ("Not here", Surface().Questions().back().text);
        EXPECT_EQ(exists ? "MainWindow" : "", Surface().Questions().back().parent);
    }
    EXPECT_EQ(2U, Surface().Questions().size());
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

TEST_F(InsertReplaceContext, ATextIsShownUnlessItIsEmpty)
{
    ShowCommandErrorText("");
    EXPECT_TRUE(Surface().Questions().empty());
    ShowCommandErrorText("x");
    EXPECT_EQ(Texts{"x"}, QuestionTexts());
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

} // namespace

} // namespace openhost::testing
