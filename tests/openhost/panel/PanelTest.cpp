// The panel: its page, its addins, its end.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"

#include "host/dialogs.h"
#include "openhost/journal/Journal.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/text/Utf.h"

#include <functional>

namespace openhost::testing {

namespace {

using Texts = std::vector<std::string>;

/// What happened to addins, and what they do.
struct AddinLog {
    Texts calls;
    std::function<void()> onMessage;
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
        return E_FAIL;
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
class PanelOfTheSession : public HostFixture {
protected:
    PanelOfTheSession()
    {
        addinLog = &log_;
        ClassDictionary::Instance().AddAdapter("TestAddin", "ZALIMeridiaAccessDialogAddin", Itself);
        ClassDictionary::Instance().AddCreation("TestAddin", MakeAddin, "creation");
        journal::Redirect([this](const nlohmann::ordered_json& line) { journal_.push_back(line.dump()); });
    }
    ~PanelOfTheSession() override
    {
        Panel::End();
        Loop().RunUntilIdle();
        EXPECT_EQ(log_.living, 0);
        EXPECT_EQ(RecordedPage::Current(), nullptr);
        journal::Redirect({});
        ClassDictionary::Instance().RemoveAdapter("TestAddin", "ZALIMeridiaAccessDialogAddin");
        ClassDictionary::Instance().RemoveCreation("TestAddin");
    }
    static RecordedPage& Page() { return *RecordedPage::Current(); }

    AddinLog log_;
    Texts journal_;
};

TEST_F(PanelOfTheSession, IsClosedAtFirst)
{
    EXPECT_EQ(Panel::Current(), nullptr);
    EXPECT_FALSE(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog());
    Panel::Close();
    Panel::End();
    EXPECT_TRUE(journal_.empty());
}

TEST_F(PanelOfTheSession, CannotBeOpenedWithoutPages)
{
    PanelPages::Install(nullptr);
    EXPECT_FALSE(ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog());
    EXPECT_EQ(Panel::Open(), nullptr);
    EXPECT_EQ(log_.living, 0);
}

TEST_F(PanelOfTheSession, IsOpenedOnceAndGivenToEverybody)
{
    const ZALIMeridiaAccessDialog_var panel = ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog();
    ASSERT_TRUE(panel);
    EXPECT_EQ(ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog().operator->(), panel.operator->());
    EXPECT_EQ(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog().operator->(), panel.operator->());
    EXPECT_EQ(log_.calls, Texts{"SetAccessDialog"});
}

TEST_F(PanelOfTheSession, HandsReportsOfThePageToItsAddinsAndIntoTheJournal)
{
    Panel::Open();
    Page().ReportUrl("http://a/\u20AC");
    Page().ReportMessage("{}");
    EXPECT_EQ(log_.calls, (Texts{"SetAccessDialog", "OnPageUrl http://a/\u20AC", "OnJSMessage {}"}));
    EXPECT_EQ(journal_, (Texts{R"({"event":"panel","action":"opened"})",
                               R"({"event":"result","operation":"SetAccessDialog","code":"S_OK"})",
                               "{\"event\":\"url\",\"url\":\"http://a/\u20AC\"}",
                               R"({"event":"result","operation":"OnPageUrl","code":"0x00000001"})",
                               R"({"event":"message","text":"{}"})",
                               R"({"event":"result","operation":"OnJSMessage","code":"0x80004005"})"}));
}

TEST_F(PanelOfTheSession, PassesScriptsAndAddressesToThePage)
{
    Panel& panel = *Panel::Open();
    EXPECT_EQ(panel.ExecuteScript("a()"), S_OK);
    EXPECT_EQ(panel.LoadUrl("http://a/"), S_OK);
    EXPECT_EQ(Page().Scripts(), Texts{"a()"});
    EXPECT_EQ(Page().Urls(), Texts{"http://a/"});
    Page().takesScripts = Page().takesUrls = false;
    EXPECT_EQ(panel.ExecuteScript("b()"), E_FAIL);
    EXPECT_EQ(panel.LoadUrl("http://b/"), E_FAIL);
    EXPECT_EQ(Page().Scripts().size() + Page().Urls().size(), 2U);
    EXPECT_EQ(journal_.at(2), "{\"event\":\"script\",\"text\":\"a()\"}");
    EXPECT_EQ(journal_.at(3), R"({"event":"load","url":"http://a/"})");
}

// ---------------------------------------------------------------------------------------------
// Addins

TEST_F(PanelOfTheSession, GivesItsAddinByTheNameOfItsClassWithAReference)
{
    Panel& panel = *Panel::Open();
    ZALBaseUnknown* first = nullptr;
    ZALBaseUnknown* second = nullptr;
    ASSERT_EQ(panel.GetAddin("TestAddin", &first), S_OK);
    ASSERT_EQ(panel.GetAddin("TestAddin", &second), S_OK);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first->IsA(), "TestAddin");
    EXPECT_EQ(log_.living, 1);
    first->Release();
    second->Release();
}

TEST_F(PanelOfTheSession, HasNoAddinOfAnotherName)
{
    Panel& panel = *Panel::Open();
    ZALBaseUnknown* addin = &panel;
    EXPECT_EQ(panel.GetAddin("Other", &addin), E_FAIL);
    EXPECT_EQ(addin, nullptr);
    EXPECT_EQ(panel.GetAddin("TestAddin", nullptr), E_INVALIDARG);
}

TEST_F(PanelOfTheSession, MakesAnAddinThatIsRegisteredLater)
{
    ClassDictionary::Instance().RemoveCreation("TestAddin");
    Panel& panel = *Panel::Open();
    EXPECT_EQ(log_.living, 0);
    ClassDictionary::Instance().AddCreation("TestAddin", MakeAddin, "creation");
    ZALBaseUnknown* addin = nullptr;
    ASSERT_EQ(panel.GetAddin("TestAddin", &addin), S_OK);
    addin->Release();
    EXPECT_EQ(log_.calls, Texts{"SetAccessDialog"});
}

TEST_F(PanelOfTheSession, DoesWithoutAnAddinThatCannotBeMade)
{
    ClassDictionary::Instance().RemoveCreation("TestAddin");
    ClassDictionary::Instance().AddCreation(
        "TestAddin", []() -> ZALBaseUnknown* { return nullptr; }, "creation");
    Panel& panel = *Panel::Open();
    ZALBaseUnknown* addin = nullptr;
    EXPECT_EQ(panel.GetAddin("TestAddin", &addin), E_FAIL);
    Page().ReportMessage("{}");
    EXPECT_TRUE(log_.calls.empty());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(PanelOfTheSession, TellsThatTheUserClosesItBeforeItEnds)
{
    Panel::Open();
    Listener listener([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        EXPECT_STREQ(notification->IsA(), "ZALDlgWindCloseNotification");
        EXPECT_TRUE(Panel::Current());
        EXPECT_EQ(log_.living, 1);
    });
    listener.Subscribe(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(),
                       ZALDlgWindCloseNotification::ClassName());
    Page().ReportClosed();
    EXPECT_EQ(listener.Calls(), 1);
    EXPECT_EQ(Panel::Current(), nullptr);
    Loop().RunUntilIdle();
    EXPECT_EQ(log_.living, 0);
    EXPECT_EQ(journal_.back(), R"({"event":"panel","action":"closed"})");
}

TEST_F(PanelOfTheSession, EndsWithTheSessionWithoutAWord)
{
    Panel::Open();
    Listener listener;
    listener.Subscribe(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(),
                       ZALDlgWindCloseNotification::ClassName());
    Panel::End();
    EXPECT_EQ(listener.Calls(), 0);
}

TEST_F(PanelOfTheSession, IsWithoutAPageForThoseWhoStillHoldIt)
{
    const ZALIMeridiaAccessDialog_var panel = ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog();
    Panel::Close();
    EXPECT_EQ(panel->ExecuteScript("a()"), E_FAIL);
    EXPECT_EQ(panel->LoadUrl("http://a/"), E_FAIL);
    ZALBaseUnknown* addin = nullptr;
    EXPECT_EQ(panel->GetAddin("TestAddin", &addin), E_FAIL);
    EXPECT_EQ(addin, nullptr);
}

TEST_F(PanelOfTheSession, MayBeClosedInsideAnOperationOfAnAddin)
{
    Panel::Open();
    log_.onMessage = [&] {
        Page().ReportClosed();
        Loop().RunUntilIdle(); // as a blocking dialog does
        EXPECT_EQ(log_.living, 1);
    };
    Page().ReportMessage("{}");
    Loop().RunUntilIdle();
    EXPECT_EQ(log_.living, 0);
}

TEST_F(PanelOfTheSession, OpensAnewWithAFreshPageAndFreshAddins)
{
    Panel::Open();
    Page().ReportClosed();
    Panel::Open();
    EXPECT_TRUE(Panel::Current());
    Loop().RunUntilIdle();
    ASSERT_TRUE(RecordedPage::Current());
    EXPECT_EQ(log_.living, 1);
    EXPECT_EQ(log_.calls, (Texts{"SetAccessDialog", "SetAccessDialog"}));
}

TEST_F(PanelOfTheSession, DoesNotHearAPageThatIsLate)
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

TEST_F(PanelOfTheSession, HasOnePublisherOfItsEventsWhetherOpenOrNot)
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
