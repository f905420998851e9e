// The life of state commands: graphs, values, picks, and ends at any moment.

#include "openhost/commands/DialogEngine.h"
#include "openhost/dialogs/TextFile.h"
#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/ManualEventLoop.h"

#include "host/cad.h"

#include "tests/support/Objects.h"

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
    /// The initial state, in which `agent` waits.
    ZALDialogState* Initial(ZALDialogAgent* agent) { return Waiting(GetInitialState("Initial"), agent); }
    ZALDialogState* Next(ZALDialogAgent* agent) { return Waiting(AddDialogState("Next"), agent); }
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
    static ZALDialogState* Waiting(ZALDialogState* state, ZALDialogAgent* agent)
    {
        state->AddDialogAgent(agent);
        return state;
    }
    bool Run(void* data) { return (*static_cast<std::function<bool()>*>(data))(); }
    bool Ask(ZALDialogAgent* agent, void* data)
    {
        EXPECT_NE(nullptr, agent);
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
    static void Give(ZALDialogAgent* agent) { agent->Accept(nullptr, 0); }
    std::string StateOf(const ZALStateCommand* command)
    {
        for (const RunningCommand& running : Engine().Commands())
            if (running.command == command)
                return running.state;
        return "(ended)";
    }

    using Path = Owned<ZALPathElement>;
    /// A path to `leaf`, which it holds alone from now on.
    static Path PathTo(ZALBaseUnknown* leaf)
    {
        Path path(new ZALPathElement);
        path->AddChildElement(leaf);
        EXPECT_EQ(1U, leaf->Release());
        return path;
    }
    /// Picks a fresh object.
    static Pick Offer(const std::string& name = {}) { return Engine().Offer(PathTo(new ZALBaseUnknown).get(), name); }

    ManualEventLoop* loop_;
    Lines journal_;
    Lines lines_;
};

// A command that ends when its first agent has a value.
void WaitForFirst(TestCommand& command)
{
    command.On(command.first, command.Initial(command.first), nullptr);
}

// A command that takes one element.
void WaitForElement(TestCommand& command)
{
    command.On(command.element, command.Initial(command.element), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Begin

TEST_F(DialogEngineTest, BuildsTheGraphFromTheLoopAndNotInTheConstructor)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    EXPECT_THAT(lines_, IsEmpty());
    EXPECT_EQ("", StateOf(command));
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated"));
    EXPECT_EQ("Initial", StateOf(command));
}

TEST_F(DialogEngineTest, BuildsTheGraphOnce)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.Initial(self.first);
        self.On(self.first, state, state, self.Do([&self] {
            self.first->InitializeAcquisition();
            return true;
        }));
    });
    Give(command->first);
    Give(command->first);
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated"));
}

TEST_F(DialogEngineTest, CancelsACommandWithoutAnAgentInAnInitialState)
{
    const std::function<void(TestCommand&)> builds[] = {
        [](TestCommand&) {}, [](TestCommand& self) { self.On(self.first, self.GetInitialState("Initial"), nullptr); },
        [](TestCommand& self) {
            const Owned<ZALDialogAgent> released(new ZALDialogAgent("Released"));
            self.On(released.get(), self.Initial(released.get()), nullptr);
        }};
    for (const auto& build : builds) {
        SCOPED_TRACE(&build - builds);
        lines_.clear();
        Start(build);
        EXPECT_THAT(lines_, ElementsAre("built", "activated", "cancelled", "ended"));
    }
}

TEST_F(DialogEngineTest, HasOneInitialStateThatKeepsItsFirstName)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.Initial(self.first);
        EXPECT_EQ(state, self.GetInitialState("Other"));
        EXPECT_EQ(self.GetCancelState(), self.GetCancelState());
        EXPECT_NE(state, self.AddDialogState("Initial"));
    });
    EXPECT_EQ("Initial", StateOf(command));
}

TEST_F(DialogEngineTest, ForgetsACommandThatIsReleasedBeforeItBegins)
{
    auto* command = new TestCommand(lines_, WaitForFirst);
    EXPECT_EQ(0U, command->Release());
    EXPECT_TRUE(Engine().Commands().empty());
    Run();
    EXPECT_THAT(lines_, ElementsAre("ended"));
}

// ---------------------------------------------------------------------------------------------
// Values and transitions

TEST_F(DialogEngineTest, ReleasesACommandAtTheNullStateBetweenEvents)
{
    TestCommand* command = Start(WaitForFirst);
    lines_.clear();
    Give(command->first);
    EXPECT_TRUE(Engine().Commands().empty());
    EXPECT_THAT(lines_, IsEmpty());
    Run();
    EXPECT_THAT(lines_, ElementsAre("ended"));
}

TEST_F(DialogEngineTest, CancelsACommandAtTheCancelStateOrInACircle)
{
    for (const bool circle : {false, true}) {
        SCOPED_TRACE(circle);
        TestCommand* command = Start([circle](TestCommand& self) {
            ZALDialogState* state = self.Initial(self.first);
            ZALDialogState* other = circle ? self.AddDialogState("Other") : self.GetCancelState();
            self.On(self.first, state, other);
            if (circle)
                self.On(self.first, other, state);
        });
        lines_.clear();
        Give(command->first);
        Run();
        EXPECT_THAT(lines_, ElementsAre("cancelled", "ended"));
    }
}

TEST_F(DialogEngineTest, TriesTransitionsInTheOrderInWhichTheyWereAdded)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.Initial(self.first);
        ZALDialogState* a = self.AddDialogState("A");
        ZALDialogState* b = self.AddDialogState("B");
        self.On(self.second, state, self.AddDialogState("C"));
        self.On(self.first, b, a);
        self.On(self.first, state, b);
        self.On(self.first, state, self.AddDialogState("D"));
    });
    Give(command->first);
    EXPECT_EQ("A", StateOf(command)); // through B, where the value still counts
}

TEST_F(DialogEngineTest, KeepsAValueThatIsGivenBeforeTheBegin)
{
    Give((new TestCommand(lines_, WaitForFirst))->first);
    EXPECT_THAT(lines_, IsEmpty());
    Run();
    EXPECT_THAT(lines_, ElementsAre("built", "activated", "ended"));
}

TEST_F(DialogEngineTest, KeepsAValueThatIsGivenBeforeItsState)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* next = self.Next(self.second);
        self.On(self.first, self.Initial(self.first), next);
        self.On(self.second, next, nullptr);
    });
    Give(command->second);
    EXPECT_EQ("Initial", StateOf(command));
    Give(command->first);
    EXPECT_EQ("(ended)", StateOf(command));
}

TEST_F(DialogEngineTest, KeepsAValueThatIsGivenInsideAnAction)
{
    std::string order;
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* next = self.Next(self.second);
        self.On(self.first, self.Initial(self.first), next, self.Do([&] {
            order += "in ";
            Give(self.second);
            order += "out ";
            return true;
        }));
        self.On(self.second, next, nullptr, self.Do([&] {
            order += "next";
            return true;
        }));
    });
    Give(command->first);
    EXPECT_EQ("in out next", order);
    EXPECT_EQ("(ended)", StateOf(command));
}

TEST_F(DialogEngineTest, StaysAfterAFalseActionAndTriesAgainWithTheNextValue)
{
    int runs = 0;
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.Initial(self.first);
        self.On(self.first, state, nullptr, self.Do([&] { return ++runs == 2; }));
        self.On(self.first, state, self.AddDialogState("Other"));
    });
    Give(command->first);
    EXPECT_EQ(1, runs);
    EXPECT_EQ("Initial", StateOf(command));
    Give(command->first);
    EXPECT_EQ("(ended)", StateOf(command));
}

TEST_F(DialogEngineTest, ForgetsAValueWhenTheAgentIsInitialised)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* next = self.Next(self.first);
        self.On(self.second, self.Initial(self.second), next);
        self.On(self.first, next, nullptr);
    });
    Give(command->first);
    EXPECT_TRUE(command->first->IsOutputSet());
    command->first->InitializeAcquisition();
    EXPECT_FALSE(command->first->IsOutputSet());
    Give(command->second);
    EXPECT_EQ("Next", StateOf(command));
}

TEST_F(DialogEngineTest, IgnoresTransitionsWithoutAnOriginOrACondition)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* state = self.Initial(self.first);
        state->AddDialogAgent(nullptr);
        self.AddTransition(nullptr, nullptr, self.IsOutputSetCondition(self.first), nullptr);
        self.AddTransition(state, nullptr, nullptr, nullptr);
        self.AddTransition(state, nullptr, self.IsOutputSetCondition(nullptr), nullptr);
    });
    Give(command->first);
    EXPECT_EQ("Initial", StateOf(command));
}

TEST_F(DialogEngineTest, OutlivesAnAgentThatEndsBeforeItsCommand)
{
    auto* lost = new ZALPathElementAgent("Lost");
    TestCommand* command = Start([&](TestCommand& self) {
        ZALDialogState* state = self.Initial(lost);
        state->AddDialogAgent(self.first);
        self.On(lost, state, self.AddDialogState("Lost"));
        self.On(self.first, state, nullptr);
    });
    lost->Release();
    EXPECT_FALSE(Offer().accepted);
    Give(command->first);
    EXPECT_EQ("(ended)", StateOf(command));
}

TEST_F(DialogEngineTest, OutlivesACommandThatEndsBeforeItsAgent)
{
    TestCommand* command = Start(WaitForFirst);
    ZALDialogAgent* agent = command->first;
    agent->AddRef();
    Engine().EndCommand(command);
    Give(agent);
    Run();
    Give(agent);
    EXPECT_TRUE(agent->IsOutputSet());
    agent->Release();
}

TEST_F(DialogEngineTest, GivesAnAgentItsBehaviourAndMode)
{
    ZALDialogAgent agent("Agent", 5, 3);
    EXPECT_STREQ("Agent", agent.GetName().CastToCharPtr());
    EXPECT_EQ(5, agent.GetBehavior());
    EXPECT_EQ(3, agent.GetMode());
    agent.SetBehavior(ZALAgentTakesOneElement);
    EXPECT_EQ(0x821000, agent.GetBehavior());
    agent.Accept(nullptr, 0); // belongs to no command yet
    EXPECT_TRUE(agent.IsOutputSet());
}

// ---------------------------------------------------------------------------------------------
// Picks

TEST_F(DialogEngineTest, RefusesAPickThatNoCommandWaitsFor)
{
    const Pick pick = Offer("Root/Child");
    EXPECT_FALSE(pick.accepted);
    EXPECT_EQ("", pick.command);
    EXPECT_EQ("no command waits for an element", pick.reason);
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
    TestCommand* command = Start([](TestCommand& self) { self.Initial(self.element); });
    const ZALPathElementAgent& agent = *command->element;
    auto* leaf = new ZALBaseUnknown;
    Path path = PathTo(leaf);
    EXPECT_EQ(nullptr, agent.GetValue());
    EXPECT_EQ(nullptr, agent.GetElementValue());
    EXPECT_TRUE(Engine().Offer(path.get()).accepted);
    ZALPathElement* value = path.get();
    path.reset();
    EXPECT_EQ(value, agent.GetValue());
    EXPECT_EQ(leaf, agent.GetElementValue());
    EXPECT_TRUE(agent.IsOutputSet());

    command->element->InitializeAcquisition();
    EXPECT_FALSE(agent.IsOutputSet());
    EXPECT_EQ(value, agent.GetValue());
    value->InitToLeafElement();
    EXPECT_EQ(leaf, value->GetNextFatherObject());

    EXPECT_TRUE(Offer().accepted);
    EXPECT_NE(nullptr, agent.GetElementValue());
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
    EXPECT_EQ("Test", pick.command);
    EXPECT_EQ("the element does not offer ZALNotification", pick.reason);
    EXPECT_EQ("Initial", StateOf(command));

    command->element->SetFilter(nullptr);
    EXPECT_TRUE(Engine().Offer(PathTo(new ZALNotification).get()).accepted);
    EXPECT_EQ("(ended)", StateOf(command));
}

TEST_F(DialogEngineTest, AsksTheFilterWithTheElementUnderThePointer)
{
    bool accepts = false;
    ZALBaseUnknown* asked = nullptr;
    TestCommand* command = Start([&](TestCommand& self) {
        self.Initial(self.element);
        self.element->SetFilter(self.Accept([&] {
            asked = self.element->GetElementValue();
            return accepts;
        }));
    });
    auto* leaf = new ZALBaseUnknown;
    const Path path = PathTo(leaf);
    const Pick refused = Engine().Offer(path.get());
    EXPECT_EQ(leaf, asked);
    EXPECT_FALSE(refused.accepted);
    EXPECT_EQ("the command does not accept the element", refused.reason);
    EXPECT_EQ(nullptr, command->element->GetElementValue());
    EXPECT_FALSE(command->element->IsOutputSet());
    EXPECT_EQ("Initial", StateOf(command));

    accepts = true;
    EXPECT_TRUE(Engine().Offer(path.get()).accepted);
}

TEST_F(DialogEngineTest, RefusesAPickOfNothing)
{
    Start(WaitForElement);
    EXPECT_EQ("there is no element", Engine().Offer(nullptr).reason);
    const Path path(new ZALPathElement);
    EXPECT_EQ("there is no element", Engine().Offer(path.get()).reason);
}

TEST_F(DialogEngineTest, GivesPicksToTheNewestCommandThatWaitsForOne)
{
    TestCommand* oldest = Start(WaitForElement, "Oldest");
    TestCommand* newer = Start(WaitForElement, "Newer");
    TestCommand* newest = Start(WaitForFirst, "Newest");
    EXPECT_EQ("Newer", Offer().command);
    EXPECT_EQ("(ended)", StateOf(newer));
    EXPECT_EQ("Oldest", Offer().command);
    EXPECT_EQ("(ended)", StateOf(oldest));
    EXPECT_FALSE(Offer().accepted);
    EXPECT_EQ("Initial", StateOf(newest));
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
    EXPECT_EQ("Newer", Offer().command);
    EXPECT_EQ("Initial", StateOf(older));
}

TEST_F(DialogEngineTest, GivesPicksToAgentsWithoutAValueFirst)
{
    const Owned<ZALPathElementAgent> other(new ZALPathElementAgent("Other"));
    TestCommand* command = Start([&](TestCommand& self) { self.Initial(self.element)->AddDialogAgent(other.get()); });
    Offer();
    EXPECT_TRUE(command->element->IsOutputSet());
    EXPECT_FALSE(other->IsOutputSet());
    const ZALPathElement* first = command->element->GetValue();
    Offer();
    EXPECT_TRUE(other->IsOutputSet());
    EXPECT_EQ(first, command->element->GetValue());
}

TEST_F(DialogEngineTest, RefusesPicksWhileCodeOfTheCommandRuns)
{
    Pick inner;
    TestCommand* command = Start([&](TestCommand& self) {
        self.On(self.element, self.Initial(self.element), self.AddDialogState("Next"), self.Do([&] {
            const ZALPathElement* value = self.element->GetValue();
            loop_->Post([&] { inner = Offer(); });
            Run(); // as a blocking dialog does
            EXPECT_EQ(value, self.element->GetValue());
            return true;
        }));
    });
    EXPECT_TRUE(Offer().accepted);
    EXPECT_FALSE(inner.accepted);
    EXPECT_EQ("Next", StateOf(command));
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
    EXPECT_EQ("the command has ended", pick.reason);
    Run();
    EXPECT_EQ("ended", lines_.back());
}

// ---------------------------------------------------------------------------------------------
// Ends from outside

TEST_F(DialogEngineTest, EndsACommandWithCancelAndWithoutItsTransitions)
{
    TestCommand* command = Start(WaitForFirst);
    lines_.clear();
    command->onCancel = [&] { Give(command->first); };
    Engine().EndCommand(command);
    Engine().EndCommand(command);
    Engine().EndCommand(nullptr);
    EXPECT_THAT(lines_, ElementsAre("cancelled"));
    Run();
    EXPECT_THAT(lines_, ElementsAre("cancelled", "ended"));
}

TEST_F(DialogEngineTest, EndsACommandThatHasNotBegunWithoutItsGraph)
{
    Engine().EndCommand(new TestCommand(lines_, WaitForFirst));
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
        self.On(self.first, self.Initial(self.first), self.AddDialogState("Next"), self.Do([&] {
            loop_->Post([] { Engine().EndAll(); });
            Run();
            lines_.emplace_back("action");
            Give(self.second); // the command is still there
            return true;
        }));
    });
    lines_.clear();
    Give(command->first);
    EXPECT_THAT(lines_, ElementsAre("cancelled", "action"));
    Run();
    EXPECT_THAT(lines_, ElementsAre("cancelled", "action", "ended"));
}

TEST_F(DialogEngineTest, EndsACommandWithinACancelThatEndsAll)
{
    for (int count = 0; count < 2; ++count)
        Start(WaitForFirst)->onCancel = [] { Engine().EndAll(); };
    Engine().EndAll();
    EXPECT_TRUE(Engine().Commands().empty());
    Run();
    EXPECT_EQ(2, std::ranges::count(lines_, "ended"));
    EXPECT_EQ(2, std::ranges::count(lines_, "cancelled"));
}

TEST_F(DialogEngineTest, LeavesACommandThatStartsWhileAllEnd)
{
    Start(WaitForFirst)->onCancel = [&] { new TestCommand(lines_, WaitForFirst, "Late"); };
    Engine().EndAll();
    ASSERT_EQ(1U, Engine().Commands().size());
    EXPECT_EQ("Late", Engine().Commands()[0].name);
}

TEST_F(DialogEngineTest, ReleasesEndedCommandsWhenTheLoopIsDropped)
{
    Engine().EndCommand(Start(WaitForFirst));
    auto loop = std::make_unique<ManualEventLoop>();
    loop_ = loop.get();
    EventLoop::Install(std::move(loop)).reset();
    EXPECT_EQ("ended", lines_.back());
}

// ---------------------------------------------------------------------------------------------
// Prompts and journal

TEST_F(DialogEngineTest, WritesTheLifeOfACommandToTheJournal)
{
    TestCommand* command = Start([](TestCommand& self) {
        ZALDialogState* next = self.Next(self.first);
        self.On(self.element, self.Initial(self.element), next);
        self.On(self.first, next, nullptr);
    });
    Offer("Root/Child.2");
    Give(command->first);
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
            self.Initial(self.first)->SetResourceID("Key");
        });
        Engine().EndCommand(command);
        Run();
        Lines prompts;
        for (const std::string& line : journal_)
            if (const auto event = nlohmann::ordered_json::parse(line); event["event"] == "prompt") {
                EXPECT_EQ("Test", event["command"]);
                EXPECT_EQ("Initial", event["state"]);
                prompts.push_back(event["text"]);
            }
        return prompts;
    }

    TemporaryFolder installation_;
};

TEST_F(Prompts, ComeFromTheFirstFileOfTheCommandThatHasTheKey)
{
    Install("Own", "Key = \"Pick one\";\n");
    Install("Bare", "Other = \"no\";\n");
    EXPECT_THAT(PromptsOf({"Own"}), ElementsAre("Pick one"));
    EXPECT_THAT(PromptsOf({"Bare", "Missing", "Own"}), ElementsAre("Pick one"));
    EXPECT_THAT(PromptsOf({}), ElementsAre("Key"));
    EXPECT_THAT(PromptsOf(Lines(100, "Missing")), ElementsAre("Key"));
}

TEST_F(Prompts, OfASharedFileHaveTheClassInFrontOfTheKey)
{
    Install("Shared", "Key = \"no\";\nClass.Key = \"Pick three\";\n");
    EXPECT_THAT(PromptsOf({"Shared"}, 0), ElementsAre("Pick three"));
}

TEST_F(Prompts, AreNotWrittenForAStateWithoutAKey)
{
    Start(WaitForFirst);
    for (const std::string& line : journal_)
        EXPECT_EQ(std::string::npos, line.find("prompt"));
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
    EXPECT_STREQ("", command->GetResourceFilename(0).CastToCharPtr());
    EXPECT_STREQ("", command->GetResourceClass(0).CastToCharPtr());
    EXPECT_EQ(0, command->IsOtherResourceFile(0));
    EXPECT_EQ(0, command->GetMode());
    EXPECT_EQ(S_OK, command->Activate(nullptr, nullptr));
    EXPECT_EQ(S_OK, command->Cancel(nullptr, nullptr));
    EXPECT_STREQ("ZALStateCommand", command->IsA());
    EXPECT_EQ(1, command->IsAKindOf("ZALCommand"));
    EXPECT_EQ(1U, Engine().Commands().size());
}

} // namespace
} // namespace openhost
