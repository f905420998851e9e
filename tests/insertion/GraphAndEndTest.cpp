// The graph of the insert and replace command as the host has it, and the order of its end.

#include "tests/insertion/OperationFixture.h"
#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"
#include "tests/support/FailingMemory.h"

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Command = ZALVelmartMeridiaAccessAddinActionCmd;
using Probe = ZALVelmartMeridiaAccessAddinActionCmdProbe;

class CommandOfAnAction : public HostFixture, public ::testing::WithParamInterface<PanelAction> {
protected:
    static std::vector<ZALBaseUnknown*> Waiting()
    {
        return SubscribersOf(ZALVelmartFileDownloader::GetInstance(),
                             ZALVelmartFileDownloadCompleteNotification::ClassName());
    }
};

INSTANTIATE_TEST_SUITE_P(Actions, CommandOfAnAction, ::testing::Values(ActionInsert, ActionReplace, ActionOpen),
                         [](const auto& test) {
                             return test.param == ActionInsert    ? "Insert"
                                    : test.param == ActionReplace ? "Replace"
                                                                  : "Other";
                         });

TEST_P(CommandOfAnAction, HasItsStatesAgentsAndTransitionsInTheirOrder)
{
    Probe command(GetParam());
    command.BuildGraph();
    const std::string key = GetParam() == ActionInsert    ? "InitialStateInsert"
                            : GetParam() == ActionReplace ? "InitialStateReplace"
                                                          : "";
    EXPECT_THAT(DialogEngine::GraphOf(command.Command()),
                ElementsAre("state InitialState [" + key + "]: Selection, CancelAgent",
                            "state DownloadState []: ActionAgent, CancelAgent", "state CancelState []",
                            "InitialState to DownloadState when Selection, by an action",
                            "InitialState to CancelState when CancelAgent",
                            "DownloadState to CancelState when CancelAgent",
                            "DownloadState to the end when ActionAgent, by an action"));
}

TEST_P(CommandOfAnAction, HasAgentsOfTheirBehaviors)
{
    Probe command(GetParam());
    command.BuildGraph();
    const std::pair<ZALDialogAgent*, int> rows[] = {
        {command.Selection(), 0x821000}, {command.Good(), 0}, {command.Cancel(), 0}};
    for (const auto& [agent, behavior] : rows) {
        EXPECT_EQ(behavior, agent->GetBehavior()) << agent->GetName().CastToCharPtr();
        EXPECT_EQ(3, agent->GetMode()) << agent->GetName().CastToCharPtr();
    }
}

TEST_P(CommandOfAnAction, IsMadeWithoutABehavior)
{
    new Command(GetParam(), ZALOmxAny());
    const std::vector<RunningCommand> commands = DialogEngine::Current().Commands();
    ASSERT_EQ(1U, commands.size());
    EXPECT_EQ(0, commands[0].behavior);
    EXPECT_EQ(0, commands[0].command->GetMode());
}

/// The names of the agents of `command` as they are freed.
void WatchAgents(FreedInOrder& freed, Probe& command)
{
    freed.Watch(command.Selection(), "Selection");
    freed.Watch(command.Good(), "ActionAgent");
    freed.Watch(command.Cancel(), "CancelAgent");
}

TEST_P(CommandOfAnAction, EndsItsAgentsInTheRequiredOrder)
{
    FreedInOrder freed;
    {
        Probe command(GetParam());
        command.BuildGraph();
        WatchAgents(freed, command);
    }
    Loop().RunUntilIdle();
    EXPECT_THAT(freed.Names(), ElementsAre("ActionAgent", "CancelAgent", "Selection"));
}

TEST_P(CommandOfAnAction, HearsNoMoreOfTheDownloaderBeforeItsAgentsEnd)
{
    /// Tells its end, which is that of the agent that was given it.
    class Element : public ZALPathElement {
    public:
        explicit Element(std::function<void()> ended) : ended_(std::move(ended)) {}
        ~Element() override { ended_(); }

    private:
        std::function<void()> ended_;
    };
    ScriptedCad cad;
    ScriptedObject& father = cad.MakeProduct("Father");
    ScriptedObject& child = cad.MakeProduct("Child");
    child.father = child.reference = &father;
    auto* command = new Command(GetParam(), ZALOmxAny()); // of a download that cannot start
    Loop().RunUntilIdle();
    int ends = 0;
    {
        const Owned<Element> path(new Element([&] {
            ++ends;
            EXPECT_THAT(Waiting(), IsEmpty());
        }));
        path->AddChildElement(&father);
        path->AddChildElement(&child);
        EXPECT_TRUE(DialogEngine::Current().Offer(path.get()).accepted);
    }
    EXPECT_THAT(Waiting(), ElementsAre(command));
    EXPECT_EQ(0, ends);
    Loop().RunUntilIdle();
    EXPECT_EQ(1, ends);
}

TEST_P(CommandOfAnAction, ReleasesTheAgentsOfTheGraphBefore)
{
    Probe command(GetParam());
    command.BuildGraph();
    FreedInOrder freed;
    WatchAgents(freed, command);
    command.BuildGraph();
    EXPECT_THAT(freed.Names(), ElementsAre("Selection", "ActionAgent", "CancelAgent"));
}

TEST_P(CommandOfAnAction, HasItsOwnResourcesUpToLevelZero)
{
    constexpr const char* own = "ZALVelmartMeridiaAccessAddinActionCmd";
    Probe probe(GetParam());
    const Command& command = probe.Command();
    for (const int level : {-1, 0, 1, 2, 9}) {
        const char* const name = level > 0 ? "" : own;
        EXPECT_STREQ(name, command.GetResourceFilename(level).CastToCharPtr()) << level;
        EXPECT_STREQ(name, command.GetResourceClass(level).CastToCharPtr()) << level;
        EXPECT_EQ(0, command.IsOtherResourceFile(level)) << level;
    }
}

} // namespace

} // namespace openhost::testing
