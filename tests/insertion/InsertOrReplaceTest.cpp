// What insert and replace do to the workspace, and what the user and the other component are told.

#include "tests/insertion/OperationFixture.h"
#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"

#include <algorithm>
#include <optional>

namespace openhost::testing {

namespace {

constexpr const char* DefaultText = "Transaction has failed";
constexpr const char* Bolt = "/p/bolt.ZALPart";

/// A selected component "Selected" in a product "Father"; the downloaded file is in the workspace after the operation.
class InsertOrReplace : public OperationFixture {
protected:
    InsertOrReplace()
    {
        Selected.father = &Father;
        root_.texts[0] = "BOLT-12";
        Cad().loaded[Bolt] = &root_;
    }

    void Run(PanelAction action, const Texts& files = {Bolt}, const std::string& environment = "UT5")
    {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(action);
        const Owned<ZALPathElement> path(PathTo(Selected));
        EXPECT_TRUE(command.InsertOrReplace(path.get(), List(files), environment.c_str()));
    }
    void Insert(const Texts& files = {Bolt}, const std::string& environment = "UT5")
    {
        Run(ActionInsert, files, environment);
    }
    void Replace(const Texts& files = {Bolt}, const std::string& environment = "UT5")
    {
        Run(ActionReplace, files, environment);
    }
    /// Calls that change the workspace.
    Texts Changes()
    {
        Texts changes;
        std::ranges::copy_if(Cad().calls, std::back_inserter(changes),
                             [](const std::string& call) { return !call.starts_with("Get"); });
        return changes;
    }

    /// Texts and arrays of automation that are alive while the first message of `action` is up.
    int TextsAtTheFirstMessage(PanelAction action)
    {
        int living = -1;
        ConfigureFrame({.applicationDocument = false}); // without the question
        Loop().Post([&] { living = LivingTexts() + LivingArrays(); });
        Run(action);
        EXPECT_EQ(1U, Surface().Questions().size());
        return living;
    }

    ScriptedObject& Father = MakeProduct("Father");
    ScriptedObject& Selected = MakeProduct("Selected");

private:
    ScriptedObject& root_ = MakeProduct("Root");
};

// ---------------------------------------------------------------------------------------------
// Both

class EitherAction : public InsertOrReplace, public ::testing::WithParamInterface<PanelAction> {};

TEST_P(EitherAction, DoesNothingWithoutATarget)
{
    const Owned<ZALPathElement> empty(new ZALPathElement);
    for (ZALPathElement* path : {static_cast<ZALPathElement*>(nullptr), empty.get()}) {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
        EXPECT_TRUE(command.InsertOrReplace(path, List({Bolt}), "UT5"));
        EXPECT_EQ(0, BusyCursorCount());
        EXPECT_TRUE(Messages().empty());
    }
}

TEST_P(EitherAction, IsSilentWithoutComponentsOfTheSelectedObjectAndWithoutFiles)
{
    Run(GetParam(), {});
    Selected.Offer("ZALIAProducts", false);
    Run(GetParam());
    EXPECT_EQ(0, BusyCursorCount());
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(Messages().empty());
}

TEST_P(EitherAction, ShowsTheWaitCursorOnce)
{
    Run(GetParam());
    EXPECT_EQ(1, BusyCursorCount());
}

TEST_P(EitherAction, TellsTheFirstFileAlone)
{
    Run(GetParam(), {Bolt, "/p/nut.ZALPart"});
    EXPECT_EQ(Texts{EndTransaction({Bolt})}, Messages());
    EXPECT_EQ(1U, Changes().size());
    EXPECT_EQ(0, TextsAtMessage());
}

TEST_P(EitherAction, TellsNothingInAnotherEnvironment)
{
    Run(GetParam(), {Bolt}, "File");
    EXPECT_EQ(1U, Changes().size());
    EXPECT_TRUE(Messages().empty());
}

TEST_P(EitherAction, CountsEveryResultThatIsNotNegativeAsDone)
{
    Selected.addResult = S_FALSE;
    Father.replaceResult = S_FALSE;
    Run(GetParam());
    EXPECT_EQ(1U, Messages().size());
    EXPECT_EQ(0, std::ranges::count(QuestionTexts(), DefaultText));
}

TEST_P(EitherAction, StandsAndIsToldAfterAClash)
{
    Selected.names = {"BOLT-12"};
    Father.names = {"BOLT-12"};
    Run(GetParam());
    EXPECT_EQ("Part Number conflict detected", QuestionTexts().back());
    EXPECT_EQ(Texts{EndTransaction({Bolt})}, Messages());
    EXPECT_EQ(QuestionsBeforeMessage(), Surface().Questions().size());
    EXPECT_NE(Surface().Questions().back().answer, -1);
}

TEST_P(EitherAction, ReleasesItsObjectsOnceTheEndIsTold)
{
    Run(GetParam());
    ASSERT_EQ(1U, Messages().size());
    // The selected object's collection; the product, its father with a collection, the components out and in.
    EXPECT_EQ(ObjectsAtMessage(), GetParam() == ActionInsert ? 1 : 6);
}

TEST_P(EitherAction, FreesItsTextsBehindTheMessageOfARefusal)
{
    Selected.addResult = E_FAIL;
    Father.replaceResult = E_FAIL;
    EXPECT_EQ(TextsAtTheFirstMessage(GetParam()), GetParam() == ActionInsert ? 2 : 1);
}

TEST_P(EitherAction, IsToldWhenTheCheckCannotBeMade)
{
    Cad().loaded.clear();
    Run(GetParam());
    EXPECT_EQ(1U, Messages().size());
    EXPECT_FALSE(std::ranges::count(QuestionTexts(), "Part Number conflict detected"));
}

TEST_P(EitherAction, WorksWithoutAFrame)
{
    ResetFrame();
    Run(GetParam());
    EXPECT_EQ(1U, Changes().size());
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(1U, Messages().size());
}

TEST_P(EitherAction, LeavesNoDialogBehind)
{
    const std::size_t before = LiveDialogs().size();
    Selected.addResult = E_FAIL;
    Father.replaceResult = E_FAIL;
    Run(GetParam());
    Loop().RunUntilIdle();
    EXPECT_EQ(LiveDialogs().size(), before);
}

INSTANTIATE_TEST_SUITE_P(Actions, EitherAction, ::testing::Values(ActionInsert, ActionReplace));

TEST_F(InsertOrReplace, AnotherActionChangesNothing)
{
    Run(ActionOpen);
    EXPECT_TRUE(Changes().empty());
    EXPECT_TRUE(Messages().empty());
}

// ---------------------------------------------------------------------------------------------
// Insert

TEST_F(InsertOrReplace, InsertAddsTheFileToTheSelectedProduct)
{
    Insert({Bolt, "/p/nut.ZALPart"});
    EXPECT_EQ((Texts{"Add to Selected: /p/bolt.ZALPart, method *", "GetEntries of Selected"}), Cad().calls);
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(InsertOrReplace, ARefusedInsertIsToldToTheUserAlone)
{
    InstallCatalog("InsertFailed = \"No insert\";\nReplaceFailed = \"No replace\";\n");
    Selected.addResult = E_FAIL;
    Selected.names = {"BOLT-12"};
    Insert();
    EXPECT_EQ(Texts{"No insert"}, QuestionTexts());
    EXPECT_EQ("FileOpenInsertReplaceErrorNotify", Surface().Questions()[0].name);
    EXPECT_EQ(16384U, Surface().Questions()[0].style);
    EXPECT_EQ(1U, Cad().calls.size());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(InsertOrReplace, InsertNeedsNoProductInterfaceAndNoFather)
{
    Selected.Offer("ZALIProduct", false);
    Selected.father = nullptr;
    Insert();
    EXPECT_EQ(1U, Changes().size());
    EXPECT_EQ(1U, Messages().size());
}

// ---------------------------------------------------------------------------------------------
// Replace

TEST_F(InsertOrReplace, ReplaceAsksAsRequiredWithEmptyDefaults)
{
    Replace();
    InstallCatalog("ReplaceAllPopUp.Title = \"Replace /P1\";\nReplaceAllPopUp.Message = \"All? /P1\";\n");
    Replace();
    ASSERT_EQ(2U, Surface().Questions().size());
    for (const bool isTranslated : {false, true}) {
        const ScriptedSurface::Question& question = Surface().Questions()[isTranslated ? 1 : 0];
        EXPECT_EQ("ReplaceAllPopUp", question.name);
        EXPECT_EQ(0x2800200U, question.style);
        EXPECT_EQ("ApplicationDocument", question.parent);
        EXPECT_EQ(isTranslated ? "Replace /P1" : "", question.title);
        EXPECT_EQ(isTranslated ? "All? /P1" : "", question.text);
    }
}

TEST_F(InsertOrReplace, OnlyTheAnswerFourReplacesOneInstance)
{
    for (const int answer : {0, 1, 2, 3, 4, 5, -1, -4}) {
        Cad().calls.clear();
        Surface().Answer("ReplaceAllPopUp", answer);
        Replace();
        EXPECT_EQ(Texts{"Replace Selected in Father: /p/bolt.ZALPart, " + std::string(answer == 4 ? "one" : "all")},
                  Changes())
            << answer;
    }
}

TEST_F(InsertOrReplace, NothingIsAskedWithoutAnApplicationDocument)
{
    ConfigureFrame({.applicationDocument = false});
    Surface().Answer("ReplaceAllPopUp", 4);
    Replace();
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(Texts{"Replace Selected in Father: /p/bolt.ZALPart, all"}, Changes());
}

TEST_F(InsertOrReplace, TheQuestionComesBeforeTheReplace)
{
    bool asked = false;
    Loop().Post([&] {
        asked = !Surface().Questions().empty();
        EXPECT_TRUE(Cad().calls.empty());
        EXPECT_EQ(0, LivingTexts());
        // Both collections, the product and its father; the product as a component only afterwards.
        EXPECT_EQ(4, Cad().facets);
    });
    Replace();
    EXPECT_TRUE(asked);
}

TEST_F(InsertOrReplace, TheFrameMayEndWhileTheQuestionIsUp)
{
    Loop().Post([] { ResetFrame(); });
    Replace();
    EXPECT_EQ(1U, Changes().size());
    Loop().RunUntilIdle();
}

TEST_F(InsertOrReplace, PartNumbersAreLookedUpAroundTheFather)
{
    Replace();
    EXPECT_EQ("GetEntries of Father", Cad().calls.back());
}

TEST_F(InsertOrReplace, ReplaceIsSilentForAnObjectThatIsNoProduct)
{
    Selected.Offer("ZALIProduct", false);
    Replace();
    EXPECT_EQ(1, BusyCursorCount());
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(InsertOrReplace, ReplaceFailsWithoutComponentsOfTheFatherAndAsksNothing)
{
    InstallCatalog("ReplaceFailed = \"No replace\";\n");
    Father.Offer("ZALIAProducts", false);
    Replace();
    Selected.father = nullptr;
    Replace();
    EXPECT_EQ((Texts{"No replace", "No replace"}), QuestionTexts());
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(InsertOrReplace, ARefusedReplaceIsToldToTheUserAlone)
{
    InstallCatalog("InsertFailed = \"No insert\";\nReplaceFailed = \"No replace\";\n");
    Father.replaceResult = E_FAIL;
    Father.names = {"BOLT-12"};
    Replace();
    EXPECT_EQ((Texts{"", "No replace"}), QuestionTexts());
    EXPECT_EQ("FileOpenInsertReplaceErrorNotify", Surface().Questions()[1].name);
    EXPECT_EQ(1U, Cad().calls.size());
    EXPECT_TRUE(Messages().empty());
}

TEST_F(InsertOrReplace, AReplaceThatGivesNoComponentIsDoneAllTheSame)
{
    Father.givesReplacement = false;
    Replace();
    EXPECT_EQ(1U, Messages().size());
}

TEST_F(InsertOrReplace, TheHostDecidesOnAProductThatIsNoComponent)
{
    Selected.Offer("ZALIAProduct", false);
    Father.replaceResult = E_FAIL;
    Replace();
    EXPECT_EQ(Texts{"Replace nothing in Father: /p/bolt.ZALPart, all"}, Changes());
    EXPECT_EQ(DefaultText, QuestionTexts().back());
}

} // namespace

} // namespace openhost::testing
