// The life of state commands: graphs, values, picks, and ends at any moment.

#include "openhost/commands/DialogEngine.h"
#include "openhost/dialogs/TextFile.h"
#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/ManualEventLoop.h"

#include "host/cad.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace openhost {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Lines = std::vector<std::string>;

/// A command that a test writes in place. It tells `lines` what the host does with it.
class TestCommand : public ZALStateCommand {
public:
    TestCommand(Lines& lines, std::function<void(TestCommand&)> build, const char* name = "Test")
        : ZALStateCommand(name), element(new ZALPathElementAgent("Element")), first(new ZALDialogAgent("First")),
          second(new ZALDialogAgent("Second")), lines_(lines), build_(std::move(build))
    {
    }
    ~TestCommand() override
    {
        lines_.emplace_back("ended");
        element->Release();
        first->Release();
        second->Release();
    }

    void BuildCommandGraph() override
    {
        lines_.emplace_back("built");
        build_(*this);
    }
    HRESULT Activate(ZALBaseUnknown* publisher, ZALNotification* notification) override
    {
        lines_.emplace_back("activated");
        if (onActivate)
            onActivate();
        return ZALStateCommand::Activate(publisher, notification);
    }
    HRESULT Cancel(ZALBaseUnknown* publisher, ZALNotification* notification) override
    {
        lines_.emplace_back("cancelled");
        if (onCancel)
            onCancel();
        return ZALStateCommand::Cancel(publisher, notification);
    }
    ZALString GetResourceFilename(int level) const override
    {
        return level < static_cast<int>(files.size()) ? files[static_cast<std::size_t>(level)].c_str() : "";
    }
    ZALString GetResourceClass(int) const override { return "Class"; }
    int IsOtherResourceFile(int level) const override { return level == shared ? 1 : 0; }

    /// An action, and a filter, that runs `function`.
    ZALDialogAction* Do(std::function<bool()> function)
    {
        actions_.push_back(std::make_unique<std::function<bool()>>(std::move(function)));
        return Action(&TestCommand::Run, nullptr, nullptr, actions_.back().get());
    }
    ZALDialogFilter* Accept(std::function<bool()> function)
    {
        actions_.push_back(std::make_unique<std::function<bool()>>(std::move(function)));
        return Filter(&TestCommand::Ask, actions_.back().get());
    }
    /// A transition on a value of `agent`.
    void On(ZALDialogAgent* agent, ZALDialogState* from, ZALDialogState* to, ZALDialogAction* action = nullptr)
    {
        AddTransition(from, to, IsOutputSetCondition(agent), action);
    }

    ZALPathElementAgent* element;
    ZALDialogAgent* first;
    ZALDialogAgent* second;
    std::function<void()> onActivate;
    std::function<void()> onCancel;
    Lines files;
    int shared = -1;

private:
    bool Run(void* data) { return (*static_cast<std::function<bool()>*>(data))(); }
    bool Ask(ZALDialogAgent* agent, void* data)
    {
        EXPECT_NE(agent, nullptr);
        return (*static_cast<std::function<bool()>*>(data))();
    }

    Lines& lines_;
    std::function<void(TestCommand&)> build_;
    std::vector<std::unique_ptr<std::function<bool()>>> actions_;
};

class DialogEngineTest : public ::testing::Test {
protected:
    DialogEngineTest()
    {
        auto loop = std::make_unique<ManualEventLoop>();
        loop_ = loop.get();
        EventLoop::Install(std::move(loop));
        journal::Redirect([this](const nlohmann::ordered_json& event) { journal_.push_back(event.dump()); });
    }
    ~DialogEngineTest() override
    {
        Engine().EndAll();
        loop_->RunUntilIdle();
        journal::Redirect({});
    }

    static DialogEngine& Engine() { return DialogEngine::Current(); }
    /// Starts a command and enters its initial state.
    TestCommand* Start(std::function<void(TestCommand&)> build, const char* name = "Test")
    {
        auto* command = new TestCommand(lines_, std::move(build), name);
        Run();
        return command;
    }
    void Run() { loop_->RunUntilIdle(); }
    std::string StateOf(const ZALStateCommand* command)
    {
        for (const RunningCommand& running : Engine().Commands())
            if (running.command == command)
                return running.state;
        return "(ended)";
    }

    /// A path to `leaf`.
    struct ReleasePath {
        void operator()(ZALPathElement* path) const { path->Release(); }
    };
    using Path = std::unique_ptr<ZALPathElement, ReleasePath>;
    static Path PathTo(ZALBaseUnknown* leaf)
    {
        Path path(new ZALPathElement);
        path->AddChildElement(leaf);
        return path;
    }
    /// Picks a fresh object.
    static Pick Offer(const std::string& name = {})
    {
        auto* leaf = new ZALBaseUnknown;
        const Path path = PathTo(leaf);
        leaf->Release();
        return Engine().Offer(path.get(), name);
    }

    ManualEventLoop* loop_;
    Lines journal_;
    Lines lines_;
};

// A command that ends when its first agent has a value.
void WaitForFirst(TestCommand& command)
{
    ZALDialogState* state = command.GetInitialState("Initial");
    state->AddDialogAgent(command.first);
    command.On(command.first, state, nullptr);
}

// A command that takes one element.
void WaitForElement(TestCommand& command)
{
    ZALDialogState* state = command.GetInitialState("Initial");
    state->AddDialogAgent(command.element);
    command.On(command.element, state, nullptr);
}

// ---------------------------------------------------------------------------------------------
// Begin

TEST_F(DialogEngineTest, BuildsTheGraphFromTheLoopAndNotInTheConstructor)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    EXPECT_THAT(lines_, IsEmpty());
    EXPECT_EQ(StateOf(command), "");
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated"));
    EXPECT_EQ(StateOf(command), "Initial");
}

TEST_F(DialogEngineTest, BuildsTheGraphOnce)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        self.On(self.first, state, state, self.Do([&self] {
            self.first->InitializeAcquisition();
            return true;
        }));
        state->AddDialogAgent(self.first);
    });
    command->first->Accept(nullptr, 0);
    command->first->Accept(nullptr, 0);
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated"));
}

TEST_F(DialogEngineTest, CancelsACommandWithoutAnInitialState)
{
    Start([](TestCommand&) {});
    EXPECT_THAT(lines_, ElementsAre("built", "activated", "cancelled", "ended"));
}

TEST_F(DialogEngineTest, CancelsACommandWhoseInitialStateHasNoAgent)
{
    Start([](TestCommand& self) { self.On(self.first, self.GetInitialState("Initial"), nullptr); });
    EXPECT_THAT(lines_, ElementsAre("built", "activated", "cancelled", "ended"));
}

TEST_F(DialogEngineTest, CancelsACommandWhoseInitialStateHasNoAgentLeft)
{
    Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        auto* agent = new ZALDialogAgent("Released");
        state->AddDialogAgent(agent);
        self.On(agent, state, nullptr);
        agent->Release();
    });
    EXPECT_THAT(lines_, ElementsAre("built", "activated", "cancelled", "ended"));
}

TEST_F(DialogEngineTest, HasOneInitialStateThatKeepsItsFirstName)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        EXPECT_EQ(self.GetInitialState("Other"), state);
        EXPECT_EQ(self.GetCancelState(), self.GetCancelState());
        EXPECT_NE(self.AddDialogState("Initial"), state);
    });
    EXPECT_EQ(StateOf(command), "Initial");
}

TEST_F(DialogEngineTest, ForgetsACommandThatIsReleasedBeforeItBegins)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    EXPECT_EQ(command->Release(), 0U);
    EXPECT_TRUE(Engine().Commands().empty());
    Run();
    EXPECT_THAT(lines_, ElementsAre("ended"));
}

// ---------------------------------------------------------------------------------------------
// Values and transitions

TEST_F(DialogEngineTest, EndsACommandAtTheNullStateAndReleasesItBetweenEvents)
{
    TestCommand* command = Start(WaitForFirst);
    lines_.clear();
    command->first->Accept(nullptr, 0);
    EXPECT_TRUE(Engine().Commands().empty());
    EXPECT_THAT(lines_, IsEmpty());
    Run();
    EXPECT_THAT(lines_, ElementsAre("ended"));
}

TEST_F(DialogEngineTest, CancelsACommandThatReachesTheCancelState)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        self.On(self.first, state, self.GetCancelState());
    });
    lines_.clear();
    command->first->Accept(nullptr, 0);
    Run();
    EXPECT_THAT(lines_, ElementsAre("cancelled", "ended"));
}

TEST_F(DialogEngineTest, TriesTransitionsInTheOrderInWhichTheyWereAdded)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        ZALDialogState* a = self.AddDialogState("A");
        ZALDialogState* b = self.AddDialogState("B");
        self.On(self.second, state, self.AddDialogState("C"));
        self.On(self.first, b, a);
        self.On(self.first, state, b);
        self.On(self.first, state, self.AddDialogState("D"));
    });
    command->first->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "A"); // through B, where the value still counts
}

TEST_F(DialogEngineTest, KeepsAValueThatIsGivenBeforeTheBegin)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    command->first->Accept(nullptr, 0);
    EXPECT_THAT(lines_, IsEmpty());
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated", "ended"));
}

TEST_F(DialogEngineTest, KeepsAValueThatIsGivenBeforeItsState)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        ZALDialogState* next = self.AddDialogState("Next");
        next->AddDialogAgent(self.second);
        self.On(self.first, state, next);
        self.On(self.second, next, nullptr);
    });
    command->second->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "Initial");
    command->first->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "(ended)");
}

TEST_F(DialogEngineTest, KeepsAValueThatIsGivenInsideAnAction)
{
    Lines order;
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        ZALDialogState* next = self.AddDialogState("Next");
        next->AddDialogAgent(self.second);
        self.On(self.first, state, next, self.Do([&] {
            order.emplace_back("in");
            self.second->Accept(nullptr, 0);
            order.emplace_back("out");
            return true;
        }));
        self.On(self.second, next, nullptr, self.Do([&] {
            order.emplace_back("next");
            return true;
        }));
    });
    command->first->Accept(nullptr, 0);
    EXPECT_THAT(order, ElementsAre("in", "out", "next"));
    EXPECT_EQ(StateOf(command), "(ended)");
}

TEST_F(DialogEngineTest, StaysWhenTheActionAnswersFalseAndTriesAgainWithTheNextValue)
{
    int runs = 0;
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        self.On(self.first, state, nullptr, self.Do([&] { return ++runs == 2; }));
        self.On(self.first, state, self.AddDialogState("Other"));
    });
    command->first->Accept(nullptr, 0);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(StateOf(command), "Initial");
    command->first->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "(ended)");
}

TEST_F(DialogEngineTest, ForgetsAValueWhenTheAgentIsInitialised)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        ZALDialogState* next = self.AddDialogState("Next");
        next->AddDialogAgent(self.first);
        state->AddDialogAgent(self.second);
        self.On(self.second, state, next);
        self.On(self.first, next, nullptr);
    });
    command->first->Accept(nullptr, 0);
    EXPECT_TRUE(command->first->IsOutputSet());
    command->first->InitializeAcquisition();
    EXPECT_FALSE(command->first->IsOutputSet());
    command->second->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "Next");
}

TEST_F(DialogEngineTest, IgnoresTransitionsWithoutAnOriginOrACondition)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        state->AddDialogAgent(nullptr);
        self.AddTransition(nullptr, nullptr, self.IsOutputSetCondition(self.first), nullptr);
        self.AddTransition(state, nullptr, nullptr, nullptr);
        self.AddTransition(state, nullptr, self.IsOutputSetCondition(nullptr), nullptr);
    });
    command->first->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "Initial");
}

TEST_F(DialogEngineTest, CancelsACommandThatRunsInACircle)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        ZALDialogState* other = self.AddDialogState("Other");
        self.On(self.first, state, other);
        self.On(self.first, other, state);
    });
    lines_.clear();
    command->first->Accept(nullptr, 0);
    Run();
    EXPECT_THAT(lines_, ElementsAre("cancelled", "ended"));
}

TEST_F(DialogEngineTest, OutlivesAnAgentThatEndsBeforeItsCommand)
{
    auto* lost = new ZALPathElementAgent("Lost");
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(lost);
        state->AddDialogAgent(self.first);
        self.On(lost, state, self.AddDialogState("Lost"));
        self.On(self.first, state, nullptr);
    });
    lost->Release();
    EXPECT_FALSE(Offer().accepted);
    command->first->Accept(nullptr, 0);
    EXPECT_EQ(StateOf(command), "(ended)");
}

TEST_F(DialogEngineTest, OutlivesACommandThatEndsBeforeItsAgent)
{
    TestCommand* command = Start(WaitForFirst);
    ZALDialogAgent* agent = command->first;
    agent->AddRef();
    Engine().EndCommand(command);
    agent->Accept(nullptr, 0);
    Run();
    agent->Accept(nullptr, 0);
    EXPECT_TRUE(agent->IsOutputSet());
    agent->Release();
}

TEST_F(DialogEngineTest, GivesAnAgentItsBehaviourAndMode)
{
    ZALDialogAgent agent("Agent", 5, 3);
    EXPECT_STREQ(agent.GetName().CastToCharPtr(), "Agent");
    EXPECT_EQ(agent.GetBehavior(), 5);
    EXPECT_EQ(agent.GetMode(), 3);
    agent.SetBehavior(ZALAgentTakesOneElement);
    EXPECT_EQ(agent.GetBehavior(), 0x821000);
    agent.Accept(nullptr, 0); // belongs to no command yet
    EXPECT_TRUE(agent.IsOutputSet());
}

// ---------------------------------------------------------------------------------------------
// Picks

TEST_F(DialogEngineTest, RefusesAPickThatNoCommandWaitsFor)
{
    const Pick pick = Offer("Root/Child");
    EXPECT_FALSE(pick.accepted);
    EXPECT_EQ(pick.command, "");
    EXPECT_EQ(pick.reason, "no command waits for an element");
    EXPECT_THAT(journal_, ElementsAre(R"({"event":"selection","element":"Root/Child","accepted":false,)"
                                      R"("reason":"no command waits for an element"})"));
}

TEST_F(DialogEngineTest, RefusesAPickBeforeTheBeginAndInAStateWithoutAnElement)
{
    new TestCommand(lines_, WaitForElement);
    EXPECT_FALSE(Offer().accepted);
    Start(WaitForFirst);
    Engine().EndCommand(Engine().Commands().front().command);
    EXPECT_FALSE(Offer().accepted);
}

TEST_F(DialogEngineTest, GivesAPickToTheAgentThatHoldsItsPath)
{
    TestCommand* command =
        Start([](TestCommand& self) { self.GetInitialState("Initial")->AddDialogAgent(self.element); });
    auto* leaf = new ZALBaseUnknown;
    Path path = PathTo(leaf);
    leaf->Release();
    EXPECT_EQ(command->element->GetValue(), nullptr);
    EXPECT_EQ(command->element->GetElementValue(), nullptr);
    EXPECT_TRUE(Engine().Offer(path.get()).accepted);
    ZALPathElement* value = path.get();
    path.reset();
    EXPECT_EQ(command->element->GetValue(), value);
    EXPECT_EQ(command->element->GetElementValue(), leaf);
    EXPECT_TRUE(command->element->IsOutputSet());

    command->element->InitializeAcquisition();
    EXPECT_FALSE(command->element->IsOutputSet());
    EXPECT_EQ(command->element->GetValue(), value);
    value->InitToLeafElement();
    EXPECT_EQ(value->GetNextFatherObject(), leaf);

    const Pick next = Offer();
    EXPECT_TRUE(next.accepted);
    EXPECT_NE(command->element->GetElementValue(), nullptr);
}

TEST_F(DialogEngineTest, GivesAPickOnlyToWhatOffersTheElementType)
{
    TestCommand* command = Start([](TestCommand& self) {
        WaitForElement(self);
        const std::string type = "ZALNotification"; // the name is copied
        self.element->SetElementType(type.c_str());
        self.element->SetFilter(self.Accept([] {
            ADD_FAILURE() << "the filter is not asked";
            return true;
        }));
    });
    const Pick pick = Offer();
    EXPECT_FALSE(pick.accepted);
    EXPECT_EQ(pick.command, "Test");
    EXPECT_EQ(pick.reason, "the element does not offer ZALNotification");
    EXPECT_EQ(StateOf(command), "Initial");

    command->element->SetFilter(nullptr);
    auto* notification = new ZALNotification;
    const Path path = PathTo(notification);
    EXPECT_EQ(notification->Release(), 1U);
    EXPECT_TRUE(Engine().Offer(path.get()).accepted);
    EXPECT_EQ(StateOf(command), "(ended)");
}

TEST_F(DialogEngineTest, AsksTheFilterWithTheElementUnderThePointer)
{
    bool accepts = false;
    ZALBaseUnknown* asked = nullptr;
    TestCommand* command = Start([&](TestCommand& self) {
        self.GetInitialState("Initial")->AddDialogAgent(self.element);
        self.element->SetFilter(self.Accept([&] {
            asked = self.element->GetElementValue();
            return accepts;
        }));
    });
    auto* leaf = new ZALBaseUnknown;
    const Path path = PathTo(leaf);
    leaf->Release();
    const Pick refused = Engine().Offer(path.get());
    EXPECT_EQ(asked, leaf);
    EXPECT_FALSE(refused.accepted);
    EXPECT_EQ(refused.reason, "the command does not accept the element");
    EXPECT_EQ(command->element->GetElementValue(), nullptr);
    EXPECT_FALSE(command->element->IsOutputSet());
    EXPECT_EQ(StateOf(command), "Initial");

    accepts = true;
    EXPECT_TRUE(Engine().Offer(path.get()).accepted);
}

TEST_F(DialogEngineTest, RefusesAPickOfNothing)
{
    Start(WaitForElement);
    EXPECT_EQ(Engine().Offer(nullptr).reason, "there is no element");
    const Path path(new ZALPathElement);
    EXPECT_EQ(Engine().Offer(path.get()).reason, "there is no element");
}

TEST_F(DialogEngineTest, GivesPicksToTheNewestCommandThatWaitsForOne)
{
    TestCommand* oldest = Start(WaitForElement, "Oldest");
    TestCommand* newer = Start(WaitForElement, "Newer");
    TestCommand* newest = Start(WaitForFirst, "Newest");
    EXPECT_EQ(Offer().command, "Newer");
    EXPECT_EQ(StateOf(newer), "(ended)");
    EXPECT_EQ(Offer().command, "Oldest");
    EXPECT_EQ(StateOf(oldest), "(ended)");
    EXPECT_FALSE(Offer().accepted);
    EXPECT_EQ(StateOf(newest), "Initial");
}

TEST_F(DialogEngineTest, GivesNoPickToAnOlderCommandThatTheNewestRefuses)
{
    TestCommand* older = Start(WaitForElement, "Older");
    Start(
        [](TestCommand& self) {
            WaitForElement(self);
            self.element->SetFilter(self.Accept([] { return false; }));
        },
        "Newer");
    EXPECT_EQ(Offer().command, "Newer");
    EXPECT_EQ(StateOf(older), "Initial");
}

TEST_F(DialogEngineTest, GivesPicksToAgentsWithoutAValueFirst)
{
    auto* other = new ZALPathElementAgent("Other");
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.element);
        state->AddDialogAgent(other);
    });
    Offer();
    EXPECT_TRUE(command->element->IsOutputSet());
    EXPECT_FALSE(other->IsOutputSet());
    const ZALPathElement* first = command->element->GetValue();
    Offer();
    EXPECT_TRUE(other->IsOutputSet());
    EXPECT_EQ(command->element->GetValue(), first);
    other->Release();
}

TEST_F(DialogEngineTest, RefusesPicksWhileCodeOfTheCommandRuns)
{
    Pick inner;
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.element);
        ZALDialogState* next = self.AddDialogState("Next");
        self.On(self.element, state, next, self.Do([&] {
            const ZALPathElement* value = self.element->GetValue();
            loop_->Post([&] { inner = Offer(); });
            loop_->RunUntilIdle(); // as a blocking dialog does
            EXPECT_EQ(self.element->GetValue(), value);
            return true;
        }));
    });
    EXPECT_TRUE(Offer().accepted);
    EXPECT_FALSE(inner.accepted);
    EXPECT_EQ(StateOf(command), "Next");
}

TEST_F(DialogEngineTest, MayTakeTheCommandsEndInsideAFilter)
{
    Start([](TestCommand& self) {
        WaitForElement(self);
        self.element->SetFilter(self.Accept([] {
            Engine().EndAll();
            return true;
        }));
    });
    const Pick pick = Offer();
    EXPECT_FALSE(pick.accepted);
    EXPECT_EQ(pick.reason, "the command has ended");
    Run();
    EXPECT_EQ(lines_.back(), "ended");
}

// ---------------------------------------------------------------------------------------------
// Ends from outside

TEST_F(DialogEngineTest, EndsACommandByItselfWithCancelAndWithoutItsTransitions)
{
    TestCommand* command = Start(WaitForFirst);
    lines_.clear();
    command->onCancel = [&] { command->first->Accept(nullptr, 0); };
    Engine().EndCommand(command);
    Engine().EndCommand(command);
    Engine().EndCommand(nullptr);
    EXPECT_THAT(lines_, ElementsAre("cancelled"));
    Run();
    EXPECT_THAT(lines_, ElementsAre("cancelled", "ended"));
}

TEST_F(DialogEngineTest, EndsACommandThatHasNotBegunWithoutItsGraph)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    Engine().EndCommand(command);
    Run();
    EXPECT_THAT(lines_, ElementsAre("ended"));
}

TEST_F(DialogEngineTest, EndsACommandInsideItsGraph)
{
    Start([](TestCommand& self) {
        Engine().EndCommand(&self);
        WaitForFirst(self);
    });
    EXPECT_THAT(lines_, ElementsAre("built", "ended"));
}

TEST_F(DialogEngineTest, EndsACommandInsideItsActivation)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    command->onActivate = [&] { Engine().EndCommand(command); };
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated", "cancelled", "ended"));
}

TEST_F(DialogEngineTest, EndsACommandInsideAnActionThatRunsToItsEnd)
{
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.first);
        self.On(self.first, state, self.AddDialogState("Next"), self.Do([&] {
            loop_->Post([] { Engine().EndAll(); });
            loop_->RunUntilIdle();
            lines_.emplace_back("action");
            self.second->Accept(nullptr, 0); // the command is still there
            return true;
        }));
    });
    lines_.clear();
    command->first->Accept(nullptr, 0);
    EXPECT_THAT(lines_, ElementsAre("cancelled", "action"));
    Run();
    EXPECT_THAT(lines_, ElementsAre("cancelled", "action", "ended"));
}

TEST_F(DialogEngineTest, EndsACommandWithinACancelThatEndsAll)
{
    TestCommand* first = Start(WaitForFirst);
    TestCommand* second = Start(WaitForFirst);
    first->onCancel = [] { Engine().EndAll(); };
    second->onCancel = [] { Engine().EndAll(); };
    Engine().EndAll();
    EXPECT_TRUE(Engine().Commands().empty());
    Run();
    EXPECT_EQ(std::ranges::count(lines_, "ended"), 2);
    EXPECT_EQ(std::ranges::count(lines_, "cancelled"), 2);
}

TEST_F(DialogEngineTest, LeavesACommandThatStartsWhileAllEnd)
{
    TestCommand* first = Start(WaitForFirst);
    first->onCancel = [&] { new TestCommand(lines_, WaitForFirst, "Late"); };
    Engine().EndAll();
    ASSERT_EQ(Engine().Commands().size(), 1U);
    EXPECT_EQ(Engine().Commands()[0].name, "Late");
}

TEST_F(DialogEngineTest, ReleasesEndedCommandsWhenTheLoopIsDropped)
{
    TestCommand* command = Start(WaitForFirst);
    Engine().EndCommand(command);
    auto loop = std::make_unique<ManualEventLoop>();
    loop_ = loop.get();
    EventLoop::Install(std::move(loop)).reset();
    EXPECT_EQ(lines_.back(), "ended");
}

// ---------------------------------------------------------------------------------------------
// Prompts and journal

TEST_F(DialogEngineTest, WritesTheLifeOfACommandToTheJournal)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.GetInitialState("Initial");
        state->AddDialogAgent(self.element);
        ZALDialogState* next = self.AddDialogState("Next");
        next->AddDialogAgent(self.first);
        self.On(self.element, state, next);
        self.On(self.first, next, nullptr);
    });
    Offer("Root/Child.2");
    command->first->Accept(nullptr, 0);
    Engine().EndCommand(Start(WaitForFirst, "Other"));
    EXPECT_THAT(journal_,
                ElementsAre(R"({"event":"command","command":"Test","action":"begun"})",
                            R"({"event":"command","command":"Test","action":"entered","state":"Initial"})",
                            R"({"event":"selection","element":"Root/Child.2","accepted":true,"command":"Test"})",
                            R"({"event":"command","command":"Test","action":"entered","state":"Next"})",
                            R"({"event":"command","command":"Test","action":"done"})",
                            R"({"event":"command","command":"Other","action":"begun"})",
                            R"({"event":"command","command":"Other","action":"entered","state":"Initial"})",
                            R"({"event":"command","command":"Other","action":"ended"})"));
}

class Prompts : public DialogEngineTest {
protected:
    Prompts() { SetPathVariable(InstallationVariable, installation_.Path()); }
    ~Prompts() override { UnsetPathVariable(InstallationVariable); }

    void Install(const std::string& catalog, const std::string& lines) const
    {
        const std::filesystem::path folder = installation_.Path() / "resources" / "msgcatalog";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / (catalog + ".ZALNls")) << lines;
    }
    /// The prompts of a command whose initial state has the key "Key".
    Lines PromptsOf(const Lines& files, int shared = -1)
    {
        journal_.clear();
        TestCommand* command = Start([&](TestCommand& self) {
            self.files = files;
            self.shared = shared;
            self.GetInitialState("Initial")->SetResourceID("Key");
            self.GetInitialState("Initial")->AddDialogAgent(self.first);
        });
        Engine().EndCommand(command);
        Run();
        Lines prompts;
        for (const std::string& line : journal_)
            if (const auto event = nlohmann::ordered_json::parse(line); event["event"] == "prompt") {
                EXPECT_EQ(event["command"], "Test");
                EXPECT_EQ(event["state"], "Initial");
                prompts.push_back(event["text"]);
            }
        return prompts;
    }

    TemporaryFolder installation_;
};

TEST_F(Prompts, ComeFromTheCommandsFile)
{
    Install("Own", "Key = \"Pick one\";\n");
    EXPECT_THAT(PromptsOf({"Own"}), ElementsAre("Pick one"));
}

TEST_F(Prompts, ComeFromTheFirstFileThatHasTheKey)
{
    Install("Own", "Other = \"no\";\n");
    Install("Base", "Key = \"Pick two\";\n");
    EXPECT_THAT(PromptsOf({"Own", "Missing", "Base"}), ElementsAre("Pick two"));
}

TEST_F(Prompts, OfASharedFileHaveTheClassInFrontOfTheKey)
{
    Install("Shared", "Key = \"no\";\nClass.Key = \"Pick three\";\n");
    EXPECT_THAT(PromptsOf({"Shared"}, 0), ElementsAre("Pick three"));
}

TEST_F(Prompts, AreTheKeyWhenNoFileHasIt)
{
    EXPECT_THAT(PromptsOf({}), ElementsAre("Key"));
    EXPECT_THAT(PromptsOf(Lines(100, "Missing")), ElementsAre("Key"));
}

TEST_F(Prompts, AreNotWrittenForAStateWithoutAKey)
{
    Start(WaitForFirst);
    for (const std::string& line : journal_)
        EXPECT_EQ(line.find("prompt"), std::string::npos);
}

// ---------------------------------------------------------------------------------------------
// The base

class PlainCommand : public ZALStateCommand {
public:
    PlainCommand() : ZALStateCommand("Plain") {}
    void BuildCommandGraph() override {}
};

TEST_F(DialogEngineTest, HasABaseWithoutResources)
{
    auto* command = new PlainCommand;
    EXPECT_STREQ(command->GetResourceFilename(0).CastToCharPtr(), "");
    EXPECT_STREQ(command->GetResourceClass(0).CastToCharPtr(), "");
    EXPECT_EQ(command->IsOtherResourceFile(0), 0);
    EXPECT_EQ(command->GetMode(), 0);
    EXPECT_EQ(command->Activate(nullptr, nullptr), S_OK);
    EXPECT_EQ(command->Cancel(nullptr, nullptr), S_OK);
    EXPECT_STREQ(command->IsA(), "ZALStateCommand");
    EXPECT_EQ(command->IsAKindOf("ZALCommand"), 1);
    EXPECT_EQ(Engine().Commands().size(), 1U);
}

} // namespace
} // namespace openhost
