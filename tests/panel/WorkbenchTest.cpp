// The panel object, the change of workbench, and the end of the addin.

#include "tests/panel/PanelFixture.h"

#include "host/dialog_engine.h"
#include "host/panel.h"

namespace openhost::testing {
namespace {

class Panel : public ZALIMeridiaAccessDialog {
public:
    HRESULT ExecuteScript(const ZALUnicodeString&) override
    {
        references.push_back(ReferencesOf(this));
        return result;
    }
    HRESULT LoadUrl(const ZALUnicodeString&) override
    {
        references.push_back(ReferencesOf(this));
        return result;
    }
    HRESULT GetAddin(const ZALString&, ZALBaseUnknown**) override { return E_FAIL; }
    ZALBaseUnknown* GetImpl(int level) override
    {
        levels.push_back(level);
        return implementation ? implementation : this;
    }
    HRESULT result = S_OK;                    ///< of both operations on the page
    ZALBaseUnknown* implementation = nullptr; ///< another object that this one stands for
    std::vector<int> levels;
    std::vector<unsigned int> references; ///< during each call
};

class PanelWorkbench : public PanelFixture {
protected:
    /// What a change of workbench does to Find Similar when it stands at `state` and the page has said `event`.
    Texts CallsOfAChange(const char* event, int state)
    {
        Addin().SetAccessDialog(nullptr);
        if (event)
            Send(Message(event));
        SetHeader(state);
        ChangeWorkshop("PartWorkshop");
        return HeaderCalls();
    }
};

TEST_F(PanelWorkbench, AttachingKeepsTheImplementationOfThePanelWithoutAReference)
{
    auto* panel = new Panel;
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(panel));
    EXPECT_EQ(std::vector<int>{0}, panel->levels);
    EXPECT_EQ(1U, ReferencesOf(panel));
    EXPECT_EQ(0U, panel->Release());
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(nullptr));
}

TEST_F(PanelWorkbench, ThePanelIsHeldAsComponentAndAsInterfaceDuringACallAlone)
{
    auto* panel = new Panel;
    Addin().SetAccessDialog(panel);
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://x/?a", "q"));
    Send(Message("velmart_ready"));
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://x/?a", "q"));
    EXPECT_EQ((std::vector<unsigned int>{3, 3}), panel->references);
    EXPECT_EQ(S_OK, Addin().OnPageUrl(CataloguePage.c_str()));
    EXPECT_EQ(0U, panel->Release());
}

TEST_F(PanelWorkbench, AttachingKeepsWhatStandsBehindThePanel)
{
    const Owned<Panel> implementation(new Panel);
    const Owned<Panel> panel(new Panel);
    panel->implementation = implementation.get();
    Addin().SetAccessDialog(panel.get());
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://x/?a", "q"));
    EXPECT_EQ(1U, implementation->references.size());
    EXPECT_TRUE(panel->references.empty());
}

TEST_F(PanelWorkbench, AttachingAnotherPanelReplacesTheFirst)
{
    const Owned<Panel> first(new Panel);
    const Owned<Panel> second(new Panel);
    Addin().SetAccessDialog(first.get());
    Addin().SetAccessDialog(second.get());
    EXPECT_EQ(S_OK, Addin().SearchByUpload("http://x/?a", "q"));
    EXPECT_TRUE(first->references.empty());
    EXPECT_EQ(1U, second->references.size());
}

TEST_F(PanelWorkbench, ASearchGivesTheResultOfTheScriptButNotOfTheAddress)
{
    const Owned<Panel> panel(new Panel);
    Addin().SetAccessDialog(panel.get());
    for (const bool isReady : {false, true}) {
        if (isReady)
            Send(Message("velmart_ready"));
        for (const HRESULT result : {S_OK, S_FALSE, E_FAIL, E_INVALIDARG}) {
            panel->result = result;
            EXPECT_EQ(isReady ? result : S_OK, Addin().SearchByUpload("http://x/?a", "q"));
        }
    }
    EXPECT_EQ(8U, panel->references.size());
}

TEST_F(PanelWorkbench, AnAddressIsAnsweredWellWhateverTheScriptGives)
{
    const std::filesystem::path folder = Folder() / "installation" / "webapps" / "ZALVelmartIntegrationJS";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "OpApiHandlers.js") << "script";
    const Owned<Panel> panel(new Panel);
    Addin().SetAccessDialog(panel.get());
    for (const HRESULT result : {S_FALSE, E_FAIL, E_INVALIDARG}) {
        panel->result = result;
        EXPECT_EQ(S_OK, Addin().OnPageUrl(CataloguePage.c_str()));
    }
    EXPECT_EQ((std::vector<unsigned int>{3, 3, 3}), panel->references);
    EXPECT_EQ(1U, ReferencesOf(panel.get()));
}

TEST_F(PanelWorkbench, AttachingSubscribesOnce)
{
    const Owned<Panel> panel(new Panel);
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(nullptr));
    EXPECT_EQ(1U, LayoutSubscriptions());
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(panel.get()));
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(nullptr));
    EXPECT_EQ(1U, LayoutSubscriptions());
}

TEST_F(PanelWorkbench, WithoutALayoutTheSubscriptionWaitsForTheNextAttaching)
{
    ConfigureFrame({.layout = false});
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(nullptr));
    ConfigureFrame({});
    EXPECT_EQ(0U, LayoutSubscriptions());
    EXPECT_EQ(S_OK, Addin().SetAccessDialog(nullptr));
    EXPECT_EQ(1U, LayoutSubscriptions());
}

TEST_F(PanelWorkbench, AChangeMakesFindSimilarWhatTheStatusSays)
{
    const Texts greyed{"1=0", "8=0", "16=0"};
    EXPECT_EQ(greyed, CallsOfAChange(nullptr, 1)) << "while it is unset";
    EXPECT_EQ((Texts{"1=1", "8=1", "16=1"}), CallsOfAChange("velmart_ready", 0));
    EXPECT_TRUE(FindSimilarIsAvailable());
    EXPECT_EQ(greyed, CallsOfAChange("velmart_over", 1));
    EXPECT_EQ(Texts(), CallsOfAChange("velmart_over", 0)) << "it is grey already";
}

TEST_F(PanelWorkbench, AChangeBeforeAttachingIsNotSeen)
{
    SetHeader(1);
    ChangeWorkshop("PartWorkshop");
    EXPECT_TRUE(HeaderCalls().empty());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(PanelWorkbench, EndingGreysFindSimilarAndThenUnsubscribes)
{
    Addin().SetAccessDialog(nullptr);
    Send(Message("velmart_ready"));
    HeaderCalls().clear();
    std::vector<std::size_t> subscriptions;
    journal::Redirect([&](const nlohmann::ordered_json& line) {
        if (line.contains("header"))
            subscriptions.push_back(LayoutSubscriptions());
    });
    const int told = CountOf(StatusClass);

    ReleaseAddin();

    EXPECT_EQ((std::vector<std::size_t>{1, 1, 1}), subscriptions);
    EXPECT_EQ(0U, LayoutSubscriptions());
    EXPECT_FALSE(FindSimilarIsAvailable());
    EXPECT_EQ(told, CountOf(StatusClass));
    EXPECT_EQ("ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to NotAvailable\n", Traces().back());
}

TEST_F(PanelWorkbench, EndingWithoutALayoutOrAFindSimilarHeaderIsQuiet)
{
    Addin().SetAccessDialog(nullptr);
    ConfigureFrame({.layout = false});
    ConfigureCommands({.findSimilarHeader = false});
    ReleaseAddin();
    EXPECT_TRUE(Traces().empty());
}

TEST_F(PanelWorkbench, EndingWithALayoutThatReplacedTheFirstLeavesItAlone)
{
    Addin().SetAccessDialog(nullptr);
    ConfigureFrame({});
    Listener other;
    other.Subscribe(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName());
    ReleaseAddin();
    EXPECT_EQ(1U, LayoutSubscriptions());
}

TEST_F(PanelWorkbench, EndingDuringADownloadLeavesNobodyToTell)
{
    EXPECT_EQ(S_OK, Send(Message("velmart_open", RemoteFile)));
    EXPECT_EQ(1U, Waiting());
    ReleaseAddin();
    EXPECT_EQ(0U, Waiting());
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_TRUE(Surface().Questions().empty());
}

} // namespace
} // namespace openhost::testing
