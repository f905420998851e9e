// The plug-in as a host meets it: opened by its file, and known by names only.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/Places.h"

#include "VelmartBuildValues.h"
#include "host/frame.h"
#include "host/panel.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Traces.h"

#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace openhost::testing {

namespace {

const std::string Plugin = BuildDir() + "/lib/ZALVelmartIntegration.so";

constexpr const char* AddinClass = "ZALVelmartMeridiaAccessAddin";
constexpr const char* AddinInterface = "ZALIMeridiaAccessDialogAddin";
constexpr const char* CommandClass = "ZALVelmartFindSimilarCmd";
constexpr const char* PublisherClass = "ZALVelmartIntegrationEventPublisher";
constexpr const char* SubscriberClass = "ZALVelmartIntegrationEventSubscriber";
constexpr const char* MessageClass = "ZALDlgHtmlViewJavaScriptNotification";
constexpr const char* StatusClass = "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif";

using Object = Owned<ZALBaseUnknown>;
using Addin = Owned<ZALIMeridiaAccessDialogAddin>;

class PluginFile : public HostFixture {
protected:
    void Load() { module_ = std::make_unique<LoadedModule>(Plugin); }
    void Unload() { module_.reset(); }

    static ClassDictionary& Dictionary() { return ClassDictionary::Instance(); }
    static Object Create(const char* className) { return Object(Dictionary().Create(className)); }
    static Addin CreateAddin()
    {
        const Object object = Create(AddinClass);
        ZALBaseUnknown* found = nullptr;
        if (object)
            object->QueryInterface(AddinInterface, &found);
        return Addin(static_cast<ZALIMeridiaAccessDialogAddin*>(found));
    }
    /// A function of the loaded plug-in by its mangled name.
    template <class Function>
    static Function* Find(const char* name)
    {
        void* library = dlopen(Plugin.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (!library)
            throw std::runtime_error("the plug-in is not loaded");
        dlclose(library);
        return reinterpret_cast<Function*>(dlsym(library, name));
    }

private:
    std::unique_ptr<LoadedModule> module_;
};

TEST_F(PluginFile, RegistersInTheRequiredOrder)
{
    const std::size_t before = Dictionary().Registrations().size();
    Load();
    Texts registered;
    for (std::size_t index = before; index < Dictionary().Registrations().size(); ++index) {
        const Registration& made = Dictionary().Registrations()[index];
        // Classes of the host may have been used for the first time as well.
        if (made.kind != "record" || made.values.ends_with(", ZALVelmartIntegration"))
            registered.push_back(made.kind + " " + made.name + ": " + made.values);
    }
    const Texts expected = {
        "interface ZALVelmartMeridiaAccessAddin: ZALIMeridiaAccessDialogAddin, 1",
        "creation ZALVelmartMeridiaAccessAddin: ",
        "record ZALVelmartMeridiaAccessAddin: 1, ZALEventSubscriber, ZALNull, ZALVelmartIntegration",
        "interface ZALVelmartMeridiaAccessSettingsUIAddin: ZALIMeridiaAccessSettingsUIAddin, 1",
        "creation ZALVelmartMeridiaAccessSettingsUIAddin: ",
        "record ZALVelmartMeridiaAccessSettingsUIAddin: 1, ZALIMeridiaAccessSettingsUIAddin, ZALNull, "
        "ZALVelmartIntegration",
        "class ZALVelmartFindSimilarCmd: ",
        "trace ZALVelmartIntegration: ZALVelmartIntegration traces, 0, STDERR, 1024",
        "creation ZALVelmartIntegrationEventPublisher: ",
        "creation ZALVelmartIntegrationEventSubscriber: "};
    EXPECT_EQ(expected, registered);
}

TEST_F(PluginFile, IsKnownByItsNamesWhileItIsLoaded)
{
    for (const char* name : {AddinClass, CommandClass, PublisherClass, SubscriberClass})
        EXPECT_FALSE(Dictionary().Knows(name)) << name;
    Load();
    for (const char* name : {AddinClass, CommandClass, PublisherClass, SubscriberClass})
        EXPECT_TRUE(Dictionary().Knows(name)) << name;
    Unload();
    for (const char* name : {AddinClass, CommandClass, PublisherClass, SubscriberClass}) {
        EXPECT_FALSE(Dictionary().Knows(name)) << name;
        EXPECT_EQ(nullptr, Dictionary().Create(name));
    }
}

TEST_F(PluginFile, LoadsNothingIntoTheSessionByItself)
{
    Load();
    EXPECT_TRUE(Notifications().empty());
    EXPECT_TRUE(Traces().empty());
    EXPECT_TRUE(SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).empty());
}

TEST_F(PluginFile, StaysKnownUntilTheLastOfItsLoadsEnds)
{
    Load();
    {
        const LoadedModule again(Plugin);
    }
    EXPECT_TRUE(Dictionary().Knows(AddinClass));
    EXPECT_TRUE(CreateAddin());
    EXPECT_TRUE(Create(PublisherClass));
}

TEST_F(PluginFile, ThatIsMissingOrNoLibraryIsRefusedWithAReason)
{
    const auto reasonFor = [](const std::filesystem::path& file) -> std::string {
        try {
            const LoadedModule refused(file);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_NE(reasonFor(Folder() / "missing.so").find("missing.so"), std::string::npos);
    std::ofstream(Folder() / "text.so") << "no library";
    EXPECT_NE(reasonFor(Folder() / "text.so").find("text.so"), std::string::npos);
}

// ---------------------------------------------------------------------------------------------
// The addin

TEST_F(PluginFile, GivesAnAddinThatTakesMessages)
{
    Load();
    const Addin addin = CreateAddin();
    ASSERT_TRUE(addin);
    EXPECT_EQ(S_OK, addin->SetAccessDialog(nullptr));
    EXPECT_EQ(S_OK, addin->OnJSMessage(R"({"event":"velmart_ready","content":{}})"));
    EXPECT_EQ(1, CountOf(StatusClass));
    EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, 1 | 8 | 16));
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready"));
    EXPECT_STREQ(addin->GetImpl(0)->IsA(), AddinClass);
    EXPECT_STREQ("ZALVelmartIntegration", addin->GetImpl(0)->GetMetaObject()->GetModule());
    EXPECT_STREQ(addin->GetMetaObject()->GetName(), AddinInterface);
    EXPECT_EQ(7, addin->GetMetaObject()->GetKind());
}

TEST_F(PluginFile, ReadsTheFurtherMarkOfAPageOnceALoad)
{
    const std::string cataloguePage = std::string("https://") + VelmartProductionHost + "/";
    const auto statusChangesFor = [this](const char* url) {
        const Addin addin = CreateAddin();
        const int before = CountOf(StatusClass);
        EXPECT_EQ(S_OK, addin->OnPageUrl(url));
        return CountOf(StatusClass) - before; // one when the page counts as elsewhere
    };
    setenv("ZAL_MERIDIADIALOG_VLURL_CHECK", "first.test", 1);
    Load();
    EXPECT_EQ(0, statusChangesFor("https://first.test/"));
    EXPECT_EQ(1, statusChangesFor("https://second.test/"));

    setenv("ZAL_MERIDIADIALOG_VLURL_CHECK", "second.test", 1);
    EXPECT_EQ(1, statusChangesFor("https://second.test/"));
    EXPECT_EQ(0, statusChangesFor("https://first.test/"));

    Unload();
    Load();
    EXPECT_EQ(0, statusChangesFor("https://second.test/"));
    EXPECT_EQ(1, statusChangesFor("https://first.test/"));

    setenv("ZAL_MERIDIADIALOG_VLURL_CHECK", "", 1);
    Unload();
    Load();
    EXPECT_EQ(1, statusChangesFor("https://second.test/"));
    EXPECT_EQ(0, statusChangesFor(cataloguePage.c_str()));
    unsetenv("ZAL_MERIDIADIALOG_VLURL_CHECK");
}

TEST_F(PluginFile, KeepsADownloadGoingWhenTheAddinEnds)
{
    Load();
    {
        const Addin addin = CreateAddin();
        EXPECT_EQ(S_OK, addin->OnJSMessage(
                            R"({"event":"velmart_open","content":{"downloadUrl":"http://127.0.0.1/item.zip"}})"));
        ASSERT_EQ(1U, Transport().Count());
        EXPECT_TRUE(Transport().Last().IsRunning());
    }
    Loop().RunUntilIdle();
    EXPECT_TRUE(Transport().Last().IsRunning());
    Transport().Last().End(TransferEnd::Failed);
    EXPECT_EQ(1, CountOf("ZALVelmartFileDownloadCompleteNotification"));
    Loop().RunUntilIdle();
    Unload();
}

// ---------------------------------------------------------------------------------------------
// The event singletons

TEST_F(PluginFile, ReleasesItsSingletonsWhenItIsUnloaded)
{
    Load();
    const ZALBaseUnknown_WR publisher(Create(PublisherClass).get());
    const ZALBaseUnknown_WR subscriber(Create(SubscriberClass).get());
    const ZALBaseUnknown_WR downloader(Find<ZALBaseUnknown*()>("_ZN24ZALVelmartFileDownloader11GetInstanceEv")());
    for (const ZALBaseUnknown_WR* singleton : {&publisher, &subscriber, &downloader})
        EXPECT_TRUE(Object(singleton->GetComponent()));
    Unload();
    EXPECT_EQ(nullptr, publisher.GetComponent());
    EXPECT_EQ(nullptr, subscriber.GetComponent());
    EXPECT_EQ(nullptr, downloader.GetComponent());
}

TEST_F(PluginFile, StartsAfreshWhenItIsLoadedAgain)
{
    Load();
    Listener component;
    component.Subscribe(Create(PublisherClass).get(), MessageClass);
    EXPECT_TRUE(Find<bool()>("_ZN35ZALVelmartIntegrationEventPublisher21HasJSMessageListenersEv")());
    Unload();
    Load();
    EXPECT_FALSE(Find<bool()>("_ZN35ZALVelmartIntegrationEventPublisher21HasJSMessageListenersEv")());
    EXPECT_EQ(0, component.Calls());
    EXPECT_STREQ(Create(PublisherClass)->GetMetaObject()->GetName(), PublisherClass);
    EXPECT_TRUE(CreateAddin());
}

TEST_F(PluginFile, KeepsNoPathOfATemplateAtFirst)
{
    const ZALUnicodeString part((Folder() / "part").c_str());
    const ZALUnicodeString product((Folder() / "product").c_str());
    for (const char* name : {"part", "product"})
        std::ofstream(Folder() / name) << "template";
    for (int load = 0; load < 2; ++load) {
        Load();
        const auto give = Find<HRESULT(ZALUnicodeString&, ZALUnicodeString&)>(
            "_ZN30ZALVliTemplateSupportUtilities23GetStoredTemplatePathesER16ZALUnicodeStringS1_");
        const auto store = Find<HRESULT(const ZALUnicodeString&, const ZALUnicodeString&)>(
            "_ZN30ZALVliTemplateSupportUtilities19StoreTemplatePathesERK16ZALUnicodeStringS2_");
        ASSERT_TRUE(give && store);
        ZALUnicodeString storedPart;
        ZALUnicodeString storedProduct;
        EXPECT_EQ(S_OK, give(storedPart, storedProduct));
        EXPECT_EQ(storedPart, ZALUnicodeString());
        EXPECT_EQ(storedProduct, ZALUnicodeString());
        EXPECT_EQ(S_OK, store(part, product));
        EXPECT_EQ(S_OK, give(storedPart, storedProduct));
        EXPECT_EQ(storedPart, part);
        EXPECT_EQ(storedProduct, product);
        Unload();
    }
}

// ---------------------------------------------------------------------------------------------
// Diagnostics

TEST_F(PluginFile, ItsStopwatchTellsTheClockBeforeItsFirstStart)
{
    Load();
    const auto milliseconds = [] {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
    };
    const auto elapsed = Find<std::uint64_t()>("_ZN26ZALVelmartIntegrationDebug6Chrono10GetElapsedEv");
    const auto start = Find<void()>("_ZN26ZALVelmartIntegrationDebug6Chrono5StartEv");
    ASSERT_TRUE(elapsed && start);
    const std::uint64_t least = milliseconds();
    const std::uint64_t told = elapsed();
    EXPECT_GE(told, least);
    EXPECT_LE(told, milliseconds());
    start();
    EXPECT_LT(elapsed(), told);
}

TEST_F(PluginFile, ItsTracesAreSwitchedByTheirNameAlsoBeforeItIsLoaded)
{
    SwitchTraces(false);
    Load();
    CreateAddin()->OnJSMessage(R"({"event":"velmart_over","content":0})");
    EXPECT_TRUE(Traces().empty());
    Unload();
    SwitchTraces("ZALVelmartIntegration", true);
    Load();
    CreateAddin()->OnJSMessage(R"({"event":"velmart_over","content":0})");
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_over"));
}

} // namespace

} // namespace openhost::testing
