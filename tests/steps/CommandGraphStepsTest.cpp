// The graph of the insert and replace command, as it is told to the host, and its end.

#include "tests/steps/Services.h"

#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

class CommandGraphSteps : public StepsFixture, public ::testing::WithParamInterface<PanelAction> {
protected:
    std::string Initial() const
    {
        return std::string("state InitialState [") +
               (GetParam() == ActionInsert    ? "InitialStateInsert"
                : GetParam() == ActionReplace ? "InitialStateReplace"
                                              : "") +
               "] takes ";
    }
};

TEST_P(CommandGraphSteps, NameStatesAgentsAndTransitionsInTheirOrder)
{
    ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
    EXPECT_THAT(Calls(), ElementsAre("command ZALVelmartMeridiaAccessAddinActionCmd 0 0"));
    command.BuildGraph();
    EXPECT_THAT(Calls(), ElementsAre(Initial() + "Selection, behavior 8523776, mode 3", // 0x821000
                                     Initial() + "CancelAgent, behavior 0, mode 3",
                                     "state DownloadState [] takes ActionAgent, behavior 0, mode 3",
                                     "state DownloadState [] takes CancelAgent, behavior 0, mode 3",
                                     "when Selection has a value", "InitialState to DownloadState by an action",
                                     "when CancelAgent has a value", "InitialState to cancel", //
                                     "when CancelAgent has a value", "DownloadState to cancel",
                                     "when ActionAgent has a value", "DownloadState to the end by an action"));
}

TEST_P(CommandGraphSteps, EndByHearingNoMoreOfTheDownloader)
{
    {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
        command.BuildGraph();
        EXPECT_TRUE(command.StartDownload());
        Calls();
    }
    Loop().RunUntilIdle();
    // Its agents in this order, which is required.
    EXPECT_THAT(Calls(), ElementsAre("hear no more of ZALVelmartFileDownloader", "end of ActionAgent",
                                     "end of CancelAgent", "end of Selection"));
}

TEST_P(CommandGraphSteps, EndBeforeADownloadByHearingNoMoreOfNobody)
{
    {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
        Calls();
    }
    Loop().RunUntilIdle();
    EXPECT_THAT(Calls(), ElementsAre("hear no more of nobody"));
}

TEST_P(CommandGraphSteps, ReleaseTheAgentsOfTheGraphBefore)
{
    ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
    command.BuildGraph();
    Calls();
    command.BuildGraph();
    EXPECT_THAT(Calls({"end"}), ElementsAre("end of Selection", "end of ActionAgent", "end of CancelAgent"));
}

TEST_P(CommandGraphSteps, ReleaseTheAgentsOfAGraphThatCannotBeFinished)
{
    ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
    Calls();
    Asked().scarceCall = "when ActionAgent has a value";
    EXPECT_NO_THROW(command.BuildGraph());
    EXPECT_THAT(Calls({"end"}), ElementsAre("end of ActionAgent", "end of CancelAgent", "end of Selection"));
}

TEST_P(CommandGraphSteps, ForwardActivateAndCancelToTheBase)
{
    ZALVelmartMeridiaAccessAddinActionCmdProbe probe(GetParam());
    ZALVelmartMeridiaAccessAddinActionCmd& command = probe.Command();
    ZALNotification notification;
    Calls();
    Asked().commandResult = S_FALSE;
    EXPECT_EQ(command.Activate(&command, nullptr), S_FALSE);
    EXPECT_EQ(command.Activate(nullptr, &notification), S_FALSE);
    EXPECT_EQ(command.Cancel(&command, nullptr), S_FALSE);
    EXPECT_EQ(command.Cancel(nullptr, &notification), S_FALSE);
    EXPECT_THAT(Calls(), ElementsAre("activate by something with nothing", "activate by nothing with something",
                                     "cancel by something with nothing", "cancel by nothing with something"));
    Asked().scarceCall = "activate by nothing with nothing";
    EXPECT_EQ(command.Activate(nullptr, nullptr), E_FAIL);
    Asked().scarceCall = "cancel by nothing with nothing";
    EXPECT_EQ(command.Cancel(nullptr, nullptr), E_FAIL);
}

TEST_P(CommandGraphSteps, HaveTheResourcesOfTheBaseOneLevelUp)
{
    constexpr const char* own = "ZALVelmartMeridiaAccessAddinActionCmd";
    ZALVelmartMeridiaAccessAddinActionCmdProbe probe(GetParam());
    const ZALVelmartMeridiaAccessAddinActionCmd& command = probe.Command();
    Calls();
    for (const int level : {-1, 0}) {
        EXPECT_EQ(command.GetResourceFilename(level), own);
        EXPECT_EQ(command.GetResourceClass(level), own);
        EXPECT_EQ(command.IsOtherResourceFile(level), 0);
    }
    EXPECT_THAT(Calls(), ElementsAre());
    for (const int level : {1, 2, 9}) {
        EXPECT_EQ(command.GetResourceFilename(level), "the file of the base");
        EXPECT_EQ(command.GetResourceClass(level), "the class of the base");
        EXPECT_EQ(command.IsOtherResourceFile(level), 7);
        const std::string above = std::to_string(level - 1);
        EXPECT_THAT(Calls(), ElementsAre("file at " + above, "class at " + above, "other file at " + above));
    }
    Asked().scarceCall = "other file at 0";
    EXPECT_EQ(command.IsOtherResourceFile(1), 0);
}

INSTANTIATE_TEST_SUITE_P(Actions, CommandGraphSteps, ::testing::Values(ActionInsert, ActionReplace, ActionOpen),
                         [](const auto& test) {
                             return test.param == ActionInsert    ? "Insert"
                                    : test.param == ActionReplace ? "Replace"
                                                                  : "Other";
                         });

} // namespace

} // namespace openhost::testing
