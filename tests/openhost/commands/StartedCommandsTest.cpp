// Commands that the user starts by the name of their class.

#include "tests/support/HostFixture.h"

#include "host/dialog_engine.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/journal/Journal.h"
#include "openhost/objects/ClassDictionary.h"

#include <functional>

namespace openhost::testing {

namespace {

int living = 0;
std::function<void(ZALCommand&)> inConstructor;

class TestCommand : public ZALCommand {
public:
    TestCommand() : ZALCommand("TestCommand", ZALCommandModeUndefined)
    {
        ++living;
        if (inConstructor)
            inConstructor(*this);
        made = true;
    }
    ~TestCommand() override
    {
        EXPECT_TRUE(made);
        --living;
    }
    void RequestDelayedDestruction() override
    {
        ++requests;
        ZALCommand::RequestDelayedDestruction();
    }
    static int requests;

private:
    bool made = false;
};
int TestCommand::requests = 0;

class StartedCommands : public HostFixture {
protected:
    StartedCommands()
    {
        TestCommand::requests = 0;
        ClassDictionary::Instance().AddCreation(
            "TestCommand", []() -> ZALBaseUnknown* { return new TestCommand; }, "class");
        ClassDictionary::Instance().AddCreation(
            "TestObject", []() -> ZALBaseUnknown* { return new ZALEventSubscriber; }, "creation");
        journal::Redirect([this](const nlohmann::ordered_json& line) { journal_.push_back(line.dump()); });
    }
    ~StartedCommands() override
    {
        inConstructor = nullptr;
        EndStartedCommands();
        Loop().RunUntilIdle();
        EXPECT_EQ(living, 0);
        journal::Redirect({});
        ClassDictionary::Instance().RemoveCreation("TestCommand");
        ClassDictionary::Instance().RemoveCreation("TestObject");
    }
    std::vector<std::string> journal_;
};

TEST_F(StartedCommands, LiveUntilTheyAskForTheirEnd)
{
    ZALCommand* command = nullptr;
    inConstructor = [&](ZALCommand& made) { command = &made; };
    EXPECT_EQ(StartCommand("TestCommand"), StartResult::Started);
    Loop().RunUntilIdle();
    EXPECT_EQ(living, 1);
    command->RequestDelayedDestruction();
    command->RequestDelayedDestruction();
    EXPECT_EQ(living, 1);
    Loop().RunUntilIdle();
    EXPECT_EQ(living, 0);
    EXPECT_EQ(journal_, (std::vector<std::string>{R"({"event":"command","command":"TestCommand","action":"begun"})",
                                                  R"({"event":"command","command":"TestCommand","action":"ended"})"}));
}

TEST_F(StartedCommands, MayAskForTheirEndInsideTheirConstructor)
{
    inConstructor = [](ZALCommand& made) { made.RequestDelayedDestruction(); };
    EXPECT_EQ(StartCommand("TestCommand"), StartResult::Started);
    EXPECT_EQ(living, 1);
    Loop().RunUntilIdle();
    EXPECT_EQ(living, 0);
}

TEST_F(StartedCommands, DoNotEndInsideTheirConstructorThoughItRunsTheLoop)
{
    inConstructor = [this](ZALCommand& made) {
        made.RequestDelayedDestruction();
        Loop().RunUntilIdle();
        EXPECT_EQ(living, 1);
    };
    EXPECT_EQ(StartCommand("TestCommand"), StartResult::Started);
    Loop().RunUntilIdle();
    EXPECT_EQ(living, 0);
}

TEST_F(StartedCommands, StayForThoseWhoHoldThem)
{
    ZALCommand* command = nullptr;
    inConstructor = [&](ZALCommand& made) { command = &made; };
    StartCommand("TestCommand");
    command->AddRef();
    command->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(living, 1);
    command->Release();
    EXPECT_EQ(living, 0);
}

TEST_F(StartedCommands, AreAskedToEndWithTheSession)
{
    StartCommand("TestCommand");
    StartCommand("TestCommand");
    EndStartedCommands();
    EXPECT_EQ(TestCommand::requests, 2);
    Loop().RunUntilIdle();
    EXPECT_EQ(living, 0);
    EndStartedCommands();
    EXPECT_EQ(TestCommand::requests, 2);
}

TEST_F(StartedCommands, NeedAClassThatMakesCommands)
{
    EXPECT_EQ(StartCommand("Unknown"), StartResult::Unknown);
    EXPECT_EQ(StartCommand(""), StartResult::Unknown);
    EXPECT_EQ(StartCommand("TestObject"), StartResult::Unknown);
}

TEST_F(StartedCommands, CannotBeStartedWhileTheirHeaderIsGreyed)
{
    AddCommandHeader("TestCommandHeader");
    EXPECT_EQ(StartCommand("TestCommand"), StartResult::Greyed);
    EXPECT_EQ(living, 0);
    ZALCommandHeader::GetHeaderFromList("TestCommandHeader", 0)->SetAvailability(ZALHeaderInGlobalMode, 1);
    EXPECT_EQ(StartCommand("TestCommand"), StartResult::Started);
}

} // namespace

} // namespace openhost::testing
