// Insert, replace and open, call by call.

#include "tests/insertion/OperationFixture.h"
#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"
#include "tests/steps/Services.h"

#include "insertion/DocumentInsertion.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

constexpr const char* Bolt = "/p/bolt.ZALPart";

class OperationSteps : public OnServices<OperationFixture> {
protected:
    OperationSteps() : Father(MakeProduct("Father")), Selected(MakeProduct("Selected"))
    {
        Selected->father = Father.get();
        Cad().loaded[Bolt] = Father.get();
    }
    ~OperationSteps() override { Loop().RunUntilIdle(); }

    Texts Run(PanelAction action)
    {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(action);
        const Owned<ZALPathElement> path(PathTo(*Selected));
        Calls();
        EXPECT_TRUE(command.InsertOrReplace(path.get(), List({Bolt}), "UT5"));
        return Calls();
    }

    Owned<ScriptedProduct> Father;
    Owned<ScriptedProduct> Selected;
};

TEST_F(OperationSteps, AnInsertFreesItsMethodThenItsArrayThenChecks)
{
    EXPECT_THAT(Run(ActionInsert), ElementsAre("array of 1", "text * behind cursor 1", "free text behind cursor 1",
                                               "free array", "in workspace /p/bolt.ZALPart"));
}

TEST_F(OperationSteps, ARefusedInsertFreesBothAndChecksNothing)
{
    Selected->addResult = E_FAIL;
    EXPECT_THAT(Run(ActionInsert),
                ElementsAre("array of 1", "text * behind cursor 1", "free text behind cursor 1", "free array"));
}

TEST_F(OperationSteps, AReplaceFreesItsPathThenChecks)
{
    EXPECT_THAT(Run(ActionReplace), ElementsAre("text /p/bolt.ZALPart behind cursor 1", "free text behind cursor 1",
                                                "in workspace /p/bolt.ZALPart"));
}

TEST_F(OperationSteps, AnInsertWithoutMemoryForItsMethodIsRefused)
{
    Asked().scarceCall = "text * behind cursor 1";
    EXPECT_THAT(Run(ActionInsert), ElementsAre("array of 1", "text * behind cursor 1", "free array"));
    EXPECT_EQ(QuestionTexts(), Texts{"Transaction has failed"});
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OperationSteps, AReplaceWithoutMemoryForItsPathIsRefused)
{
    ConfigureFrame({.applicationDocument = false});
    Asked().scarceCall = "text /p/bolt.ZALPart behind cursor 1";
    EXPECT_THAT(Run(ActionReplace), ElementsAre("text /p/bolt.ZALPart behind cursor 1"));
    EXPECT_EQ(QuestionTexts(), Texts{"Transaction has failed"});
    EXPECT_TRUE(Messages().empty());
}

TEST_F(OperationSteps, AnOpeningShowsTheCursorBeforeAndAfterItHasThePath)
{
    Cad().ends.clear();
    Calls();
    EXPECT_EQ(OpenDownloadedDocument(List({Bolt}), "UT5"), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("text /p/bolt.ZALPart behind cursor 1", "free text behind cursor 2"));
    EXPECT_EQ(Texts(Cad().ends.begin(), Cad().ends.end()),
              (Texts{"ZALIADocument", "ZALIAApplication", "ZALIADocuments"}));
}

TEST_F(OperationSteps, AnOpeningWithoutMemoryForThePathIsToldAllTheSame)
{
    Asked().scarceCall = "text /p/bolt.ZALPart behind cursor 1";
    EXPECT_EQ(OpenDownloadedDocument(List({Bolt}), "UT5"), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_EQ(Messages().size(), 1U);
}

TEST_F(OperationSteps, ADocumentThatIsGivenWithAFailureIsNotChecked)
{
    Selected->names = {""};
    Asked().inSessionResult = E_INVALIDARG;
    EXPECT_EQ(CheckPartNumberConflict(Selected.get(), Bolt), E_FAIL);
    EXPECT_TRUE(Cad().calls.empty());
    EXPECT_EQ(Cad().livingObjects, 0);
    Asked().inSessionResult = S_FALSE;
    EXPECT_EQ(CheckPartNumberConflict(Selected.get(), Bolt), S_OK);
    EXPECT_EQ(Surface().Questions().size(), 1U);
}

} // namespace

} // namespace openhost::testing
