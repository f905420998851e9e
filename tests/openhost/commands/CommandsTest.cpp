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
    ASSERT_NE(FindSimilar(), nullptr);
    EXPECT_EQ(FindSimilar()->IsAvailable(), 0);
    EXPECT_EQ(FindSimilar(), ZALCommandHeader::GetHeaderFromList("ZALVelmartFindSimilarCmdHeader", 0));
}

TEST_F(Commands, HaveNoHeaderOfAnUnknownName)
{
    EXPECT_EQ(ZALCommandHeader::GetHeaderFromList("Unknown", 0), nullptr);
    EXPECT_EQ(ZALCommandHeader::GetHeaderFromList("", 0), nullptr);
    EXPECT_FALSE(IsHeaderAvailable("Unknown", ZALHeaderInGlobalMode));
    CommandOptions options;
    options.findSimilarHeader = false;
    ConfigureCommands(options);
    EXPECT_EQ(FindSimilar(), nullptr);
}

TEST_F(Commands, AreAvailableWhenTheyAreSoInTheGlobalMode)
{
    FindSimilar()->SetAvailability(ZALHeaderInLocalMode, 1);
    FindSimilar()->SetAvailability(ZALHeaderInContextMode, 1);
    EXPECT_EQ(FindSimilar()->IsAvailable(), 0);
    FindSimilar()->SetAvailability(ZALHeaderInGlobalMode, 1);
    EXPECT_EQ(FindSimilar()->IsAvailable(), 1);
    EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, 1 | 8 | 16));
    FindSimilar()->SetAvailability(ZALHeaderInLocalMode, 0);
    EXPECT_EQ(FindSimilar()->IsAvailable(), 1);
    EXPECT_FALSE(IsHeaderAvailable(FindSimilarHeader, 1 | 8));
    FindSimilar()->SetAvailability(ZALHeaderInGlobalMode, 0);
    EXPECT_EQ(FindSimilar()->IsAvailable(), 0);
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
    ASSERT_NE(header, nullptr);
    header->SetAvailability(ZALHeaderInGlobalMode, 1);
    AddCommandHeader("Own");
    EXPECT_EQ(ZALCommandHeader::GetHeaderFromList("Own", 0), header);
    EXPECT_EQ(header->IsAvailable(), 1);
    ResetCommands();
    EXPECT_EQ(ZALCommandHeader::GetHeaderFromList("Own", 0), nullptr);
}

TEST_F(Commands, RunInAnInteractiveApplicationThatCountsItsRepaints)
{
    auto* application = dynamic_cast<ZALInteractiveApplication*>(ZALApplication::MainApplication());
    ASSERT_NE(application, nullptr);
    application->UpdateDisplay();
    application->UpdateDisplay();
    EXPECT_EQ(DisplayUpdateCount(), 2);
    CommandOptions options;
    options.application = false;
    ConfigureCommands(options);
    EXPECT_EQ(ZALApplication::MainApplication(), nullptr);
    EXPECT_EQ(DisplayUpdateCount(), 0);
}

TEST_F(Commands, HaveNoRecorderUnlessTheSessionHasOne)
{
    EXPECT_EQ(ZALRecord::GetMain(), nullptr);
    CommandOptions options;
    options.recorder = true;
    ConfigureCommands(options);
    ASSERT_NE(ZALRecord::GetMain(), nullptr);
    EXPECT_FALSE(ZALRecord::GetMain()->IsCapture());
    EXPECT_FALSE(ZALRecord::GetMain()->IsReplay());
    options.capture = true;
    ConfigureCommands(options);
    EXPECT_TRUE(ZALRecord::GetMain()->IsCapture());
    EXPECT_FALSE(ZALRecord::GetMain()->IsReplay());
    options.capture = false;
    options.replay = true;
    ConfigureCommands(options);
    EXPECT_FALSE(ZALRecord::GetMain()->IsCapture());
    EXPECT_TRUE(ZALRecord::GetMain()->IsReplay());
}

TEST_F(Commands, KeepNameModeAndClass)
{
    auto* command = new ZALCommand("Command", ZALCommandModeUndefined);
    EXPECT_STREQ(command->GetName().CastToCharPtr(), "Command");
    EXPECT_EQ(command->GetMode(), 3);
    EXPECT_STREQ(command->IsA(), "ZALCommand");
    EXPECT_EQ(command->IsAKindOf("ZALEventSubscriber"), 1);
    EXPECT_EQ(ZALSysDynamicCast<ZALCommand>(command), command);
    EXPECT_EQ(command->Release(), 0U);
}

} // namespace
} // namespace openhost
