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
        EXPECT_EQ(0, living);
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
    EXPECT_EQ(StartResult::Started, StartCommand("TestCommand"));
    Loop().RunUntilIdle();
    EXPECT_EQ(1, living);
    command->RequestDelayedDestruction();
    command->RequestDelayedDestruction();
    EXPECT_EQ(1, living);
    Loop().RunUntilIdle();
    EXPECT_EQ(0, living);
    EXPECT_EQ((std::vector<std::string>{R"({"event":"command","command":"TestCommand","action":"begun"})",
                                        R"({"event":"command","command":"TestCommand","action":"ended"})"}),
              journal_);
}

TEST_F(StartedCommands, MayAskForTheirEndInsideTheirConstructorButDoNotEndThere)
{
    inConstructor = [this](ZALCommand& made) {
        made.RequestDelayedDestruction();
        Loop().RunUntilIdle();
        EXPECT_EQ(1, living);
    };
    EXPECT_EQ(StartResult::Started, StartCommand("TestCommand"));
    EXPECT_EQ(1, living);
    Loop().RunUntilIdle();
    EXPECT_EQ(0, living);
}

TEST_F(StartedCommands, StayForThoseWhoHoldThem)
{
    ZALCommand* command = nullptr;
    inConstructor = [&](ZALCommand& made) { command = &made; };
    StartCommand("TestCommand");
    command->AddRef();
    command->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(1, living);
    command->Release();
    EXPECT_EQ(0, living);
}

TEST_F(StartedCommands, AreAskedToEndWithTheRun)
{
    StartCommand("TestCommand");
    StartCommand("TestCommand");
    EndStartedCommands();
    EXPECT_EQ(2, TestCommand::requests);
    Loop().RunUntilIdle();
    EXPECT_EQ(0, living);
    EndStartedCommands();
    EXPECT_EQ(2, TestCommand::requests);
}

TEST_F(StartedCommands, NeedAClassThatMakesCommands)
{
    EXPECT_EQ(StartResult::Unknown, StartCommand("Unknown"));
    EXPECT_EQ(StartResult::Unknown, StartCommand(""));
    EXPECT_EQ(StartResult::Unknown, StartCommand("TestObject"));
}

TEST_F(StartedCommands, CannotBeStartedWhileTheirHeaderIsGreyed)
{
    AddCommandHeader("TestCommandHeader");
    EXPECT_EQ(StartResult::Greyed, StartCommand("TestCommand"));
    EXPECT_EQ(0, living);
    ZALCommandHeader::GetHeaderFromList("TestCommandHeader", 0)->SetAvailability(ZALHeaderInGlobalMode, 1);
    EXPECT_EQ(StartResult::Started, StartCommand("TestCommand"));
}

} // namespace

} // namespace openhost::testing
