// What the plug-in keeps for as long as it is loaded: the handlers script, the fragment of its check of addresses, and
// whether it warns before an upload.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/Places.h"
#include "tests/support/ScriptedCad.h"

#include "VelmartBuildValues.h"
#include "host/frame.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/text/Utf.h"

#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <memory>

namespace openhost::testing {

namespace {

const std::string Plugin = BuildDir() + "/lib/ZALVelmartIntegration.so";
constexpr const char* CheckVariable = "ZAL_MERIDIADIALOG_VLURL_CHECK";
constexpr const char* WarningVariable = "ZAL_VELMART_FINDSIMILAR_NO_UPLOAD_WARNING";
constexpr const char* StatusClass = "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif";

const std::string Catalogue = std::string("https://") + VelmartProductionHost + "/";
constexpr const char* Elsewhere = "https://elsewhere.example/";

/// The plug-in, freshly loaded, and an open panel.
class PluginInThePanel : public HostFixture {
protected:
    ~PluginInThePanel() override
    {
        EndStartedCommands();
        Panel::End();
        Loop().RunUntilIdle();
        module_.reset();
        unsetenv(CheckVariable);
        unsetenv(WarningVariable);
    }
    void Load()
    {
        module_ = std::make_unique<LoadedModule>(Plugin);
        Panel::Open();
    }
    void InstallScript(const std::string& bytes)
    {
        const std::filesystem::path folder = Folder() / "installation" / "webapps" / "ZALVelmartIntegrationJS";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "OpApiHandlers.js", std::ios::binary) << bytes;
    }
    static RecordedPage& Page() { return *RecordedPage::Current(); }
    static HRESULT GetScript(std::int32_t context, ZALUnicodeString& script)
    {
        void* library = dlopen(Plugin.c_str(), RTLD_NOW | RTLD_NOLOAD);
        dlclose(library);
        const auto function = reinterpret_cast<HRESULT (*)(std::int32_t, ZALUnicodeString&)>(dlsym(
            library, "_ZN30ZALVelmartIntegrationUtilities23GetOpiAPIHandlersScriptENS_7ContextER16ZALUnicodeString"));
        return function(context, script);
    }
    static std::string ScriptFor(std::int32_t context)
    {
        ZALUnicodeString script = "before";
        EXPECT_EQ(S_OK, GetScript(context, script));
        return ToUtf8(script);
    }

    std::unique_ptr<LoadedModule> module_;
};

// ---------------------------------------------------------------------------------------------
// The script

TEST_F(PluginInThePanel, InjectsTheHandlersScriptIntoEachPageOfTheCatalogue)
{
    InstallScript("connect('%USAGE_CONTEXT%');");
    Load();
    Page().ReportUrl(Catalogue);
    EXPECT_EQ(Texts{"connect('SidePanel');"}, Page().Scripts());
    Page().ReportMessage(R"({"event":"velmart_ready","content":{}})");
    Page().ReportUrl(std::string("https://eu1") + VelmartOtherHostsFragment + "example/search");
    EXPECT_EQ(2U, Page().Scripts().size());
    EXPECT_EQ(1, CountOf(StatusClass)); // ready, and it stays so
    EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, 1 | 8 | 16));
}

TEST_F(PluginInThePanel, InjectsNothingIntoAPageElsewhere)
{
    InstallScript("connect('%USAGE_CONTEXT%');");
    Load();
    Page().ReportUrl(Elsewhere);
    EXPECT_TRUE(Page().Scripts().empty());
    EXPECT_EQ(1, CountOf(StatusClass));
    Page().ReportUrl(Elsewhere);
    EXPECT_EQ(1, CountOf(StatusClass));
}

TEST_F(PluginInThePanel, InjectsNothingWithoutTheFileAndTriesAgain)
{
    Load();
    Page().ReportUrl(Catalogue);
    EXPECT_TRUE(Page().Scripts().empty());
    InstallScript("");
    Page().ReportUrl(Catalogue);
    EXPECT_TRUE(Page().Scripts().empty());
    InstallScript("late");
    Page().ReportUrl(Catalogue);
    EXPECT_EQ(Texts{"late"}, Page().Scripts());
}

TEST_F(PluginInThePanel, DoesNotMindAPageThatTakesNoScript)
{
    InstallScript("script");
    Load();
    Page().takesScripts = false;
    Page().ReportUrl(Catalogue);
    EXPECT_TRUE(Notifications().empty());
    Page().takesScripts = true;
    Page().ReportUrl(Catalogue);
    EXPECT_EQ(Texts{"script"}, Page().Scripts());
}

TEST_F(PluginInThePanel, ReadsTheScriptOnceForEveryContext)
{
    InstallScript("%USAGE_CONTEXT%/%USAGE_CONTEXT%");
    Load();
    EXPECT_EQ("DocChooser/DocChooser", ScriptFor(1));
    InstallScript("other");
    EXPECT_EQ("SidePanel/SidePanel", ScriptFor(0));
    for (const std::int32_t context : {2, -1})
        EXPECT_EQ("%USAGE_CONTEXT%/%USAGE_CONTEXT%", ScriptFor(context));
    EXPECT_EQ("DocChooser/DocChooser", ScriptFor(1));
}

TEST_F(PluginInThePanel, TakesAScriptWithoutThePlaceholder)
{
    InstallScript("plain");
    Load();
    EXPECT_EQ("plain", ScriptFor(0));
}

TEST_F(PluginInThePanel, GivesNoScriptWithoutTheFile)
{
    Load();
    ZALUnicodeString script = "before";
    EXPECT_EQ(E_FAIL, GetScript(0, script));
    EXPECT_EQ("before", ToUtf8(script));
}

// ---------------------------------------------------------------------------------------------
// The check of addresses

TEST_F(PluginInThePanel, TakesPagesOfTheFragmentInTheEnvironmentAsWell)
{
    InstallScript("script");
    setenv(CheckVariable, "elsewhere", 1);
    Load();
    Page().ReportUrl(Elsewhere);
    Page().ReportUrl(Catalogue); // the variable widens the check alone
    EXPECT_EQ(2U, Page().Scripts().size());
    Page().ReportUrl("elsewhere");
    EXPECT_EQ(3U, Page().Scripts().size());
    Page().ReportUrl("https://third.example/");
    EXPECT_EQ(3U, Page().Scripts().size());
}

TEST_F(PluginInThePanel, ReadsTheFragmentAtTheFirstAddressAndNotBefore)
{
    InstallScript("script");
    Load();
    setenv(CheckVariable, "elsewhere", 1);
    Page().ReportUrl(Elsewhere);
    EXPECT_EQ(1U, Page().Scripts().size());
    setenv(CheckVariable, "third", 1);
    Page().ReportUrl("https://third.example/");
    EXPECT_EQ(1U, Page().Scripts().size());
    Page().ReportUrl(Elsewhere);
    EXPECT_EQ(2U, Page().Scripts().size());
}

// ---------------------------------------------------------------------------------------------
// The warning

class PluginWithACommand : public PluginInThePanel {
protected:
    PluginWithACommand()
    {
        ConfigureFrame({.editor = true});
        ConfigureCommands({.findSimilarHeader = false});
        ZALPathElement* path = PathTo(*product_);
        ZALFrmEditor::GetCurrentEditor()->GetCSO()->AddElement(path);
        path->Release();
    }
    ~PluginWithACommand() override { ResetFrame(); }
    /// Starts and ends a command; answers whether it warned.
    bool Warns()
    {
        const std::size_t before = Surface().Questions().size();
        EXPECT_EQ(StartCommand("ZALVelmartFindSimilarCmd"), StartResult::Started);
        EndStartedCommands();
        Loop().RunUntilIdle();
        return Surface().Questions().size() > before;
    }

    ScriptedCad cad_;
    ScriptedObject* product_ = &cad_.MakeProduct("Part");
};

TEST_F(PluginWithACommand, WarnsBeforeAnUploadWhateverIsDefinedLater)
{
    Load();
    EXPECT_TRUE(Warns());
    setenv(WarningVariable, "1", 1);
    EXPECT_TRUE(Warns());
}

TEST_F(PluginWithACommand, DoesNotWarnWhenTheVariableIsDefinedAtTheFirstCommand)
{
    setenv(WarningVariable, "", 1); // its value does not count
    Load();
    EXPECT_FALSE(Warns());
    unsetenv(WarningVariable);
    EXPECT_FALSE(Warns());
}

} // namespace

} // namespace openhost::testing
