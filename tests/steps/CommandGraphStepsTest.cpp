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
    ZALVelmartMeridiaAccessAddinActionCmdProbe(GetParam()).BuildGraph();
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
    EXPECT_THAT(Calls(), ElementsAre("hear no more of ZALVelmartFileDownloader"));
}

TEST_P(CommandGraphSteps, EndBeforeADownloadByHearingNoMoreOfNobody)
{
    {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(GetParam());
    }
    Loop().RunUntilIdle();
    EXPECT_THAT(Calls(), ElementsAre("hear no more of nobody"));
}

INSTANTIATE_TEST_SUITE_P(Actions, CommandGraphSteps, ::testing::Values(ActionInsert, ActionReplace, ActionOpen),
                         [](const auto& test) {
                             return test.param == ActionInsert    ? "Insert"
                                    : test.param == ActionReplace ? "Replace"
                                                                  : "Other";
                         });

} // namespace

} // namespace openhost::testing
