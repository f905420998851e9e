#include "openhost/commands/Commands.h"

#include "openhost/journal/Journal.h"

#include "host/dialog_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace openhost {
namespace {

class Commands : public ::testing::Test {
protected:
    Commands() { ResetCommands(); }
    ~Commands() override
    {
        ResetCommands();
        journal::Redirect({});
    }

    static ZALCommandHeader* FindSimilar() { return ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0); }
};

TEST_F(Commands, HaveTheHeaderOfFindSimilarGreyedAtFirst)
{
    ASSERT_NE(nullptr, FindSimilar());
    EXPECT_EQ(0, FindSimilar()->IsAvailable());
    EXPECT_EQ(FindSimilar(), ZALCommandHeader::GetHeaderFromList("ZALVelmartFindSimilarCmdHeader", 0));
}

TEST_F(Commands, HaveNoHeaderOfAnUnknownName)
{
    EXPECT_EQ(nullptr, ZALCommandHeader::GetHeaderFromList("Unknown", 0));
    EXPECT_EQ(nullptr, ZALCommandHeader::GetHeaderFromList("", 0));
    EXPECT_FALSE(IsHeaderAvailable("Unknown", ZALHeaderInGlobalMode));
    ConfigureCommands({.findSimilarHeader = false});
    EXPECT_EQ(nullptr, FindSimilar());
}

TEST_F(Commands, AreAvailableWhenTheyAreSoInTheGlobalMode)
{
    FindSimilar()->SetAvailability(ZALHeaderInLocalMode, 1);
    FindSimilar()->SetAvailability(ZALHeaderInContextMode, 1);
    EXPECT_EQ(0, FindSimilar()->IsAvailable());
    FindSimilar()->SetAvailability(ZALHeaderInGlobalMode, 1);
    EXPECT_EQ(1, FindSimilar()->IsAvailable());
    EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, 1 | 8 | 16));
    FindSimilar()->SetAvailability(ZALHeaderInLocalMode, 0);
    EXPECT_EQ(1, FindSimilar()->IsAvailable());
    EXPECT_FALSE(IsHeaderAvailable(FindSimilarHeader, 1 | 8));
    FindSimilar()->SetAvailability(ZALHeaderInGlobalMode, 0);
    EXPECT_EQ(0, FindSimilar()->IsAvailable());
    EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, ZALHeaderInContextMode));
}

TEST_F(Commands, WriteAvailabilityToTheJournal)
{
    std::vector<std::string> lines;
    journal::Redirect([&](const nlohmann::ordered_json& event) { lines.push_back(event.dump()); });
    FindSimilar()->SetAvailability(8, 1);
    FindSimilar()->SetAvailability(1, 1);
    EXPECT_THAT(lines, ::testing::ElementsAre(
                           R"({"event":"command","header":"ZALVelmartFindSimilarCmdHeader","mask":8,"state":1,)"
                           R"("available":false})",
                           R"({"event":"command","header":"ZALVelmartFindSimilarCmdHeader","mask":1,"state":1,)"
                           R"("available":true})"));
}

TEST_F(Commands, CanBeAddedAndStayAsTheyAreWhenAddedAgain)
{
    AddCommandHeader("Own");
    ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList("Own", 0);
    ASSERT_NE(nullptr, header);
    header->SetAvailability(ZALHeaderInGlobalMode, 1);
    AddCommandHeader("Own");
    EXPECT_EQ(ZALCommandHeader::GetHeaderFromList("Own", 0), header);
    EXPECT_EQ(1, header->IsAvailable());
    ResetCommands();
    EXPECT_EQ(nullptr, ZALCommandHeader::GetHeaderFromList("Own", 0));
}

TEST_F(Commands, RunInAnInteractiveApplicationThatCountsItsRepaints)
{
    auto* application = dynamic_cast<ZALInteractiveApplication*>(ZALApplication::MainApplication());
    ASSERT_NE(nullptr, application);
    application->UpdateDisplay();
    application->UpdateDisplay();
    EXPECT_EQ(2, DisplayUpdateCount());
    ConfigureCommands({.application = false});
    EXPECT_EQ(nullptr, ZALApplication::MainApplication());
    EXPECT_EQ(0, DisplayUpdateCount());
}

TEST_F(Commands, HaveNoRecorderUnlessTheRunHasOne)
{
    EXPECT_EQ(nullptr, ZALRecord::GetMain());
    for (const auto& [capture, replay] : {std::pair{false, false}, {true, false}, {false, true}}) {
        ConfigureCommands({.recorder = true, .capture = capture, .replay = replay});
        ASSERT_NE(nullptr, ZALRecord::GetMain());
        EXPECT_EQ(capture, ZALRecord::GetMain()->IsCapture());
        EXPECT_EQ(replay, ZALRecord::GetMain()->IsReplay());
    }
}

TEST_F(Commands, KeepNameModeAndClass)
{
    auto* command = new ZALCommand("Command", ZALCommandModeUndefined);
    EXPECT_STREQ("Command", command->GetName().CastToCharPtr());
    EXPECT_EQ(3, command->GetMode());
    EXPECT_STREQ("ZALCommand", command->IsA());
    EXPECT_EQ(1, command->IsAKindOf("ZALEventSubscriber"));
    EXPECT_EQ(ZALSysDynamicCast<ZALCommand>(command), command);
    EXPECT_EQ(0U, command->Release());
}

} // namespace
} // namespace openhost
