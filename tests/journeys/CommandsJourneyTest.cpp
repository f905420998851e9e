// The commands of the tree, used wrongly: each says what is wrong before it installs or builds anything.

#include "openhost/files/TemporaryFolder.h"

#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/wait.h>

namespace openhost::testing {

using ::testing::HasSubstr;

class CommandsJourney : public ::testing::Test {
protected:
    /// The status of `command`, words of a shell. What it prints stands in `printed_`.
    int Run(const std::string& command)
    {
        const std::string file = (folder_.Path() / "printed").string();
        const int status = std::system(("(" + command + ") >" + file + " 2>&1").c_str());
        printed_ = ReadFile(file);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    TemporaryFolder folder_;
    std::string printed_;
};

struct WrongRun {
    const char* name;
    const char* arguments;
    const char* complaint;
};

class WrongRunJourney : public CommandsJourney, public ::testing::WithParamInterface<WrongRun> {};

TEST_P(WrongRunJourney, EndsWithStatus2AndAReason)
{
    EXPECT_EQ(2, Run("unset DISPLAY WAYLAND_DISPLAY; cd " + folder_.Path().string() + "; touch there; " + SourceDir() +
                     "/run " + GetParam().arguments));
    EXPECT_THAT(printed_, HasSubstr(std::string("run: ") + GetParam().complaint));
    EXPECT_THAT(printed_, HasSubstr("./run --help tells how it is used"));
}

INSTANTIATE_TEST_SUITE_P(
    Of, WrongRunJourney,
    ::testing::Values(
        WrongRun{"AnUnknownOption", "--itm", "unknown option --itm"},
        WrongRun{"AValueThatIsMissing", "--item", "--item needs a value"},
        WrongRun{"AValueThatIsEmpty", "--item ''", "--item needs a value"},
        WrongRun{"TwoActions", "--items --catalogue", "--items and --catalogue exclude each other"},
        WrongRun{"ASessionInAWindow", "--session there --window", "--session and --window exclude each other"},
        WrongRun{"AFolderThatCannotBeMade", "--item a --folder there/below", "the folder there/below cannot"},
        WrongRun{"AFolderForNothing", "--items --folder x", "--folder goes with --item, --session, --window"},
        WrongRun{"AJournalForNothing", "--items --journal x", "--journal goes with --item, --session"},
        WrongRun{"OverwritingForNothing", "--overwrite", "--overwrite goes with --item"},
        WrongRun{"APortBeyondAll", "--port 65536", "--port needs a number up to 65535"},
        WrongRun{"APortThatIsNoNumber", "--port x", "--port needs a number up to 65535"},
        WrongRun{"ASessionThatIsMissing", "--session none", "the session none cannot be read"},
        WrongRun{"ADocumentThatIsMissing", "--show none", "the document none cannot be read"},
        WrongRun{"AnUnknownLanguage", "--window --language fr", "--language needs en or de, not fr"},
        WrongRun{"ADocumentThatIsNotThere", "--window nowhere.ZALPart", "the document nowhere.ZALPart cannot be read"},
        WrongRun{"ANoDisplay", "--window", "--window opens a window and there is no display"}),
    [](const auto& row) { return row.param.name; });

TEST_F(CommandsJourney, ADisplayThatIsDeadIsToldBeforeAnythingIsBuilt)
{
    EXPECT_EQ(2, Run("unset WAYLAND_DISPLAY; DISPLAY=:987 " + SourceDir() + "/run --window"));
    EXPECT_THAT(printed_, HasSubstr("nothing answers on the display :987"));
}

TEST_F(CommandsJourney, HelpAndVersionNeedNoBuild)
{
    EXPECT_EQ(0, Run(SourceDir() + "/run --help"));
    EXPECT_THAT(printed_, HasSubstr("Usage: ./run"));
    EXPECT_EQ(0, Run(SourceDir() + "/run --version"));
    EXPECT_THAT(printed_, ::testing::MatchesRegex("run [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

struct WrongPlugin {
    const char* name;
    const char* options;
    const char* complaint;
};

class WrongPluginJourney : public CommandsJourney, public ::testing::WithParamInterface<WrongPlugin> {};

TEST_P(WrongPluginJourney, IsRefusedBeforeItIsBuilt)
{
    const std::string folder = folder_.Path().string();
    EXPECT_NE(0, Run("SOURCE=" + SourceDir() + " SDK=" + folder + "/sdk; mkdir -p $SDK/host; touch $SDK/host/cad.h; " +
                     "cd $SOURCE; cmake --preset plugin -B " + folder + "/build " + GetParam().options));
    std::string text = printed_;
    std::erase(text, '\n');
    EXPECT_THAT(text, HasSubstr(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(Of, WrongPluginJourney,
                         ::testing::Values(WrongPlugin{"NoHost", "", "VELMART_HOST_INCLUDE_DIR must be the folder"},
                                           WrongPlugin{"AHostThatIsIncomplete", "-DVELMART_HOST_INCLUDE_DIR=$SDK",
                                                       "VELMART_HOST_INCLUDE_DIR must hold all of the host's headers"},
                                           WrongPlugin{"ExampleAddresses", "-DVELMART_HOST_INCLUDE_DIR=$SOURCE/module",
                                                       "must be that of the deployment"}),
                         [](const auto& row) { return row.param.name; });

} // namespace openhost::testing
