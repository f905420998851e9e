// The panel: its page, its addins, its end.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"

#include "host/dialogs.h"
#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/journal/Events.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/text/Utf.h"

#include <filesystem>
#include <fstream>
#include <functional>

namespace openhost::testing {

namespace {

using Texts = std::vector<std::string>;

/// What happened to addins, and what they do.
struct AddinLog {
    Texts calls;
    std::function<void()> onMessage;
    HRESULT answer = E_FAIL; ///< to a message
    int living = 0;
};
AddinLog* addinLog = nullptr;

} // namespace

class TestAddin : public ZALIMeridiaAccessDialogAddin {
public:
    TestAddin() { ++addinLog->living; }
    ~TestAddin() override { --addinLog->living; }
    HRESULT SetAccessDialog(ZALIMeridiaAccessDialog* dialog) override
    {
        addinLog->calls.push_back(dialog ? "SetAccessDialog" : "SetAccessDialog null");
        return S_OK;
    }
    HRESULT OnPageUrl(const ZALUnicodeString& url) override
    {
        addinLog->calls.push_back("OnPageUrl " + ToUtf8(url));
        return S_FALSE;
    }
    HRESULT OnJSMessage(const ZALUnicodeString& message) override
    {
        addinLog->calls.push_back("OnJSMessage " + ToUtf8(message));
        if (addinLog->onMessage)
            addinLog->onMessage();
        return addinLog->answer;
    }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

OPENHOST_META_CLASS(TestAddin, ZALIMeridiaAccessDialogAddin)

namespace {

ZALBaseUnknown* Itself(ZALBaseUnknown* object)
{
    object->AddRef();
    return object;
}
ZALBaseUnknown* MakeAddin()
{
    return new TestAddin;
}

/// The dictionary knows the addin class "TestAddin".
class PanelOfTheRun : public HostFixture {
protected:
    PanelOfTheRun()
    {
        addinLog = &log_;
        ClassDictionary::Instance().AddAdapter("TestAddin", "ZALIMeridiaAccessDialogAddin", Itself);
        ClassDictionary::Instance().AddCreation("TestAddin", MakeAddin, "creation");
        journal::Redirect([this](const nlohmann::ordered_json& line) { journal_.push_back(line.dump()); });
    }
    ~PanelOfTheRun() override
    {
        Panel::End();
        Loop().RunUntilIdle();
        EXPECT_EQ(0, log_.living);
        EXPECT_EQ(nullptr, RecordedPage::Current());
        journal::Redirect({});
        ClassDictionary::Instance().RemoveAdapter("TestAddin", "ZALIMeridiaAccessDialogAddin");
        ClassDictionary::Instance().RemoveCreation("TestAddin");
    }
    static RecordedPage& Page() { return *RecordedPage::Current(); }

    AddinLog log_;
    Texts journal_;
};

TEST_F(PanelOfTheRun, IsClosedAtFirst)
{
    EXPECT_EQ(nullptr, Panel::Current());
    EXPECT_FALSE(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog());
    Panel::Close();
    Panel::End();
    EXPECT_TRUE(journal_.empty());
}

TEST_F(PanelOfTheRun, CannotBeOpenedWithoutPages)
{
    PanelPages::Install(nullptr);
    EXPECT_FALSE(ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog());
    EXPECT_EQ(nullptr, Panel::Open());
    EXPECT_EQ(0, log_.living);
}

TEST_F(PanelOfTheRun, IsOpenedOnceAndGivenToEverybody)
{
    const ZALIMeridiaAccessDialog_var panel = ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog();
    ASSERT_TRUE(panel);
    EXPECT_EQ(ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog().operator->(), panel.operator->());
    EXPECT_EQ(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog().operator->(), panel.operator->());
    EXPECT_EQ(Texts{"SetAccessDialog"}, log_.calls);
}

TEST_F(PanelOfTheRun, HandsReportsOfThePageToItsAddinsAndIntoTheJournal)
{
    Panel::Open();
    Page().ReportUrl("http://a/\u20AC");
    Page().ReportMessage("{}");
    EXPECT_EQ((Texts{"SetAccessDialog", "OnPageUrl http://a/\u20AC", "OnJSMessage {}"}), log_.calls);
    EXPECT_EQ((Texts{R"({"event":"panel","action":"opened"})",
                     R"({"event":"result","operation":"SetAccessDialog","code":"S_OK"})",
                     "{\"event\":\"url\",\"url\":\"http://a/\u20AC\"}",
                     R"({"event":"result","operation":"OnPageUrl","code":"0x00000001"})",
                     R"({"event":"message","text":"{}"})",
                     R"({"event":"result","operation":"OnJSMessage","code":"0x80004005"})"}),
              journal_);
}

TEST_F(PanelOfTheRun, PassesScriptsAndAddressesToThePage)
{
    Panel& panel = *Panel::Open();
    EXPECT_EQ(S_OK, panel.ExecuteScript("a()"));
    EXPECT_EQ(S_OK, panel.LoadUrl("http://a/"));
    EXPECT_EQ(Texts{"a()"}, Page().Scripts());
    EXPECT_EQ(Texts{"http://a/"}, Page().Urls());
    Page().takesScripts = Page().takesUrls = false;
    EXPECT_EQ(E_FAIL, panel.ExecuteScript("b()"));
    EXPECT_EQ(E_FAIL, panel.LoadUrl("http://b/"));
    EXPECT_EQ(2U, Page().Scripts().size() + Page().Urls().size());
    EXPECT_EQ("{\"event\":\"script\",\"text\":\"a()\"}", journal_.at(2));
    EXPECT_EQ(R"({"event":"load","url":"http://a/"})", journal_.at(3));
}

TEST_F(PanelOfTheRun, GivesTheChannelToTheHandlersScriptAlone)
{
    const TemporaryFolder installation;
    const std::filesystem::path folder = installation.Path() / "webapps" / "ZALVelmartIntegrationJS";
    Panel& panel = *Panel::Open();
    SetPathVariable(InstallationVariable, installation.Path());
    const std::string text = "connect('%USAGE_CONTEXT%', '\u20AC');";
    const std::string sidePanel = "connect('SidePanel', '\u20AC');";
    EXPECT_EQ(S_OK, panel.ExecuteScript(FromUtf8(sidePanel)));
    EXPECT_EQ(Texts(), Page().Handlers()) << "there is no such script";

    std::filesystem::create_directories(folder);
    std::ofstream(folder / "OpApiHandlers.js") << text;
    for (const std::string& other : {text, sidePanel + " ", " " + sidePanel, sidePanel + sidePanel, std::string("a()"),
                                     std::string(), std::string("connect('Other', '\u20AC');")})
        EXPECT_EQ(S_OK, panel.ExecuteScript(FromUtf8(other)));
    EXPECT_EQ(Texts(), Page().Handlers());
    EXPECT_EQ(S_OK, panel.ExecuteScript(FromUtf8(sidePanel)));
    EXPECT_EQ(S_OK, panel.ExecuteScript("connect('DocChooser', '\u20AC');"));

    // The module keeps the script that it has read.
    std::ofstream(folder / "OpApiHandlers.js") << "another one";
    EXPECT_EQ(S_OK, panel.ExecuteScript(FromUtf8(sidePanel)));
    EXPECT_EQ((Texts{sidePanel, "connect('DocChooser', '\u20AC');", sidePanel}), Page().Handlers());
    EXPECT_EQ(11U, Page().Scripts().size());
    UnsetPathVariable(InstallationVariable);
}

TEST_F(PanelOfTheRun, GivesNoChannelToAScriptOfMoreThanAMebibyte)
{
    const TemporaryFolder installation;
    const std::filesystem::path folder = installation.Path() / "webapps" / "ZALVelmartIntegrationJS";
    std::filesystem::create_directories(folder);
    Panel& panel = *Panel::Open();
    SetPathVariable(InstallationVariable, installation.Path());
    const std::string text = "connect();";
    for (const std::size_t size : {std::size_t{1} << 20, (std::size_t{1} << 20) + 1}) {
        const std::string script = text + std::string(size - text.size(), ' ');
        std::ofstream(folder / "OpApiHandlers.js") << script;
        EXPECT_EQ(S_OK, panel.ExecuteScript(FromUtf8(script)));
    }
    EXPECT_EQ(1U, Page().Handlers().size());
    EXPECT_EQ(2U, Page().Scripts().size()) << "the other one runs as any script";
    UnsetPathVariable(InstallationVariable);
}

TEST_F(PanelOfTheRun, TellsThePageWhatBecomesOfItsRequest)
{
    Panel::Open();
    Page().ReportMessage(R"({"event":"velmart_open","content":{"id":"a"}})");
    EXPECT_EQ((Texts{R"({"event":"velmart_open","id":"a","state":"started"})",
                     R"({"event":"velmart_open","id":"a","state":"failed","reason":""})"}),
              Page().Events());
    Page().ReportMessage(R"({"event":"velmart_ready","content":{}})");
    EXPECT_EQ(2U, Page().Events().size());
}

TEST_F(PanelOfTheRun, TellsOfTheEndOfADownloadOnceItsQuestionIsAnswered)
{
    Panel::Open();
    log_.answer = S_OK;
    Page().ReportMessage(R"({"event":"velmart_download","content":{}})");
    bool asked = false;
    Loop().Post([&] {
        journal::Write([] {
            return journal::Notification{.className = "ZALVelmartFileDownloadCompleteNotification", .publisher = ""};
        });
        auto* question = new ZALDlgNotify(nullptr, "FileDownloadErrorNotify", 16384);
        question->DisplayBlocked("It has failed.", "");
        EXPECT_EQ(1U, Page().Events().size()) << "the question was still open";
        question->RequestDelayedDestruction();
        asked = true;
    });
    Loop().RunUntilIdle();
    EXPECT_TRUE(asked);
    EXPECT_EQ((Texts{R"({"event":"velmart_download","state":"started"})",
                     R"({"event":"velmart_download","state":"failed","reason":"It has failed."})"}),
              Page().Events());
}

TEST_F(PanelOfTheRun, MayBeClosedByWhatARequestBringsAbout)
{
    Panel::Open();
    log_.onMessage = [] { Panel::Close(); };
    Page().ReportMessage(R"({"event":"velmart_open","content":{}})");
    EXPECT_EQ(nullptr, Panel::Current());
}

// ---------------------------------------------------------------------------------------------
// Addins

TEST_F(PanelOfTheRun, GivesItsAddinByTheNameOfItsClassWithAReference)
{
    Panel& panel = *Panel::Open();
    ZALBaseUnknown* first = nullptr;
    ZALBaseUnknown* second = nullptr;
    ASSERT_EQ(S_OK, panel.GetAddin("TestAddin", &first));
    ASSERT_EQ(S_OK, panel.GetAddin("TestAddin", &second));
    EXPECT_EQ(first, second);
    EXPECT_STREQ("TestAddin", first->IsA());
    EXPECT_EQ(1, log_.living);
    first->Release();
    second->Release();
    EXPECT_EQ(E_FAIL, panel.GetAddin("Other", &first));
    EXPECT_EQ(nullptr, first);
    EXPECT_EQ(E_INVALIDARG, panel.GetAddin("TestAddin", nullptr));
}

TEST_F(PanelOfTheRun, MakesAnAddinThatIsRegisteredLater)
{
    ClassDictionary::Instance().RemoveCreation("TestAddin");
    Panel& panel = *Panel::Open();
    EXPECT_EQ(0, log_.living);
    ClassDictionary::Instance().AddCreation("TestAddin", MakeAddin, "creation");
    ZALBaseUnknown* addin = nullptr;
    ASSERT_EQ(S_OK, panel.GetAddin("TestAddin", &addin));
    addin->Release();
    EXPECT_EQ(Texts{"SetAccessDialog"}, log_.calls);
}

TEST_F(PanelOfTheRun, DoesWithoutAnAddinThatCannotBeMade)
{
    ClassDictionary::Instance().RemoveCreation("TestAddin");
    ClassDictionary::Instance().AddCreation(
        "TestAddin", []() -> ZALBaseUnknown* { return nullptr; }, "creation");
    Panel& panel = *Panel::Open();
    ZALBaseUnknown* addin = nullptr;
    EXPECT_EQ(E_FAIL, panel.GetAddin("TestAddin", &addin));
    Page().ReportMessage("{}");
    EXPECT_TRUE(log_.calls.empty());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(PanelOfTheRun, TellsThatTheUserClosesItBeforeItEnds)
{
    Panel::Open();
    Listener listener([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        EXPECT_STREQ("ZALDlgWindCloseNotification", notification->IsA());
        EXPECT_TRUE(Panel::Current());
        EXPECT_EQ(1, log_.living);
    });
    listener.Subscribe(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(),
                       ZALDlgWindCloseNotification::ClassName());
    Page().ReportClosed();
    EXPECT_EQ(1, listener.Calls());
    EXPECT_EQ(nullptr, Panel::Current());
    Loop().RunUntilIdle();
    EXPECT_EQ(0, log_.living);
    EXPECT_EQ(R"({"event":"panel","action":"closed"})", journal_.back());
    Panel::Open();
    Panel::End();
    EXPECT_EQ(1, listener.Calls()) << "the end of the run is not told";
}

TEST_F(PanelOfTheRun, IsWithoutAPageForThoseWhoStillHoldIt)
{
    const ZALIMeridiaAccessDialog_var panel = ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog();
    Panel::Close();
    EXPECT_EQ(E_FAIL, panel->ExecuteScript("a()"));
    EXPECT_EQ(E_FAIL, panel->LoadUrl("http://a/"));
    ZALBaseUnknown* addin = nullptr;
    EXPECT_EQ(E_FAIL, panel->GetAddin("TestAddin", &addin));
    EXPECT_EQ(nullptr, addin);
}

TEST_F(PanelOfTheRun, MayBeClosedInsideAnOperationOfAnAddin)
{
    Panel::Open();
    log_.onMessage = [&] {
        Page().ReportClosed();
        Loop().RunUntilIdle(); // as a blocking dialog does
        EXPECT_EQ(1, log_.living);
    };
    Page().ReportMessage("{}");
    Loop().RunUntilIdle();
    EXPECT_EQ(0, log_.living);
}

TEST_F(PanelOfTheRun, OpensAnewWithAFreshPageAndFreshAddins)
{
    Panel::Open();
    Page().ReportClosed();
    Panel::Open();
    EXPECT_TRUE(Panel::Current());
    Loop().RunUntilIdle();
    ASSERT_TRUE(RecordedPage::Current());
    EXPECT_EQ(1, log_.living);
    EXPECT_EQ((Texts{"SetAccessDialog", "SetAccessDialog"}), log_.calls);
}

TEST_F(PanelOfTheRun, DoesNotHearAPageThatIsLate)
{
    Panel::Open();
    RecordedPage& late = Page();
    Panel::End();
    Panel::Open();
    log_.calls.clear();
    late.ReportMessage("{}");
    late.ReportUrl("http://a/");
    late.ReportClosed();
    EXPECT_TRUE(log_.calls.empty());
    EXPECT_TRUE(Panel::Current());
}

TEST_F(PanelOfTheRun, HasOnePublisherOfItsEventsWhetherOpenOrNot)
{
    ZALBaseUnknown* publisher = ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher();
    ASSERT_TRUE(publisher);
    Panel::Open();
    EXPECT_EQ(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(), publisher);
    Panel::Close();
    EXPECT_EQ(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(), publisher);
}

} // namespace

} // namespace openhost::testing
