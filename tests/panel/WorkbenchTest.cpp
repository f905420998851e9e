// The panel object, the change of workbench, and the end of the addin.

#include "tests/panel/PanelFixture.h"

#include "host/dialog_engine.h"
#include "host/frame.h"
#include "host/panel.h"
#include "tests/support/Objects.h"

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
    std::size_t LayoutSubscriptions()
    {
        return SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).size();
    }
    void SetHeader(int state)
    {
        ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0);
        header->SetAvailability(ZALHeaderInGlobalMode, state);
        HeaderCalls().clear();
    }
};

TEST_F(PanelWorkbench, AttachingKeepsTheImplementationOfThePanelWithoutAReference)
{
    auto* panel = new Panel;
    EXPECT_EQ(Addin().SetAccessDialog(panel), S_OK);
    EXPECT_EQ(panel->levels, std::vector<int>{0});
    EXPECT_EQ(ReferencesOf(panel), 1U);
    EXPECT_EQ(panel->Release(), 0U);
    EXPECT_EQ(Addin().SetAccessDialog(nullptr), S_OK);
}

TEST_F(PanelWorkbench, ThePanelIsHeldAsComponentAndAsInterfaceDuringACallAlone)
{
    auto* panel = new Panel;
    Addin().SetAccessDialog(panel);
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
    Send(Message("velmart_ready"));
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
    EXPECT_EQ(panel->references, (std::vector<unsigned int>{3, 3}));
    EXPECT_EQ(Addin().OnPageUrl(CataloguePage.c_str()), S_OK);
    EXPECT_EQ(panel->Release(), 0U);
}

TEST_F(PanelWorkbench, AttachingKeepsWhatStandsBehindThePanel)
{
    const Owned<Panel> implementation(new Panel);
    const Owned<Panel> panel(new Panel);
    panel->implementation = implementation.get();
    Addin().SetAccessDialog(panel.get());
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
    EXPECT_EQ(implementation->references.size(), 1U);
    EXPECT_TRUE(panel->references.empty());
}

TEST_F(PanelWorkbench, AttachingAnotherPanelReplacesTheFirst)
{
    const Owned<Panel> first(new Panel);
    const Owned<Panel> second(new Panel);
    Addin().SetAccessDialog(first.get());
    Addin().SetAccessDialog(second.get());
    EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
    EXPECT_TRUE(first->references.empty());
    EXPECT_EQ(second->references.size(), 1U);
}

TEST_F(PanelWorkbench, WhatTheScriptOfASearchGivesIsHandedOnAsItIs)
{
    const Owned<Panel> panel(new Panel);
    Addin().SetAccessDialog(panel.get());
    Send(Message("velmart_ready"));
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL, E_INVALIDARG}) {
        panel->result = result;
        EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), result);
    }
}

TEST_F(PanelWorkbench, WhatAnAddressGivesIsNotHandedOn)
{
    const Owned<Panel> panel(new Panel);
    Addin().SetAccessDialog(panel.get());
    for (const HRESULT result : {S_FALSE, E_INVALIDARG}) {
        panel->result = result;
        EXPECT_EQ(Addin().SearchByUpload("http://x/?a", "q"), S_OK);
    }
    EXPECT_EQ(panel->references.size(), 2U);
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
        EXPECT_EQ(Addin().OnPageUrl(CataloguePage.c_str()), S_OK);
    }
    EXPECT_EQ(panel->references, (std::vector<unsigned int>{3, 3, 3}));
    EXPECT_EQ(ReferencesOf(panel.get()), 1U);
}

TEST_F(PanelWorkbench, AttachingSubscribesOnce)
{
    auto* panel = new Panel;
    EXPECT_EQ(Addin().SetAccessDialog(panel), S_OK);
    EXPECT_EQ(Addin().SetAccessDialog(panel), S_OK);
    EXPECT_EQ(Addin().SetAccessDialog(nullptr), S_OK);
    EXPECT_EQ(LayoutSubscriptions(), 1U);
    panel->Release();
}

TEST_F(PanelWorkbench, AttachingNoPanelSubscribesAllTheSame)
{
    EXPECT_EQ(Addin().SetAccessDialog(nullptr), S_OK);
    EXPECT_EQ(LayoutSubscriptions(), 1U);
}

TEST_F(PanelWorkbench, WithoutALayoutTheSubscriptionWaitsForTheNextAttaching)
{
    ConfigureFrame({.layout = false});
    EXPECT_EQ(Addin().SetAccessDialog(nullptr), S_OK);
    ConfigureFrame({});
    EXPECT_EQ(LayoutSubscriptions(), 0U);
    EXPECT_EQ(Addin().SetAccessDialog(nullptr), S_OK);
    EXPECT_EQ(LayoutSubscriptions(), 1U);
}

TEST_F(PanelWorkbench, AChangeSetsFindSimilarAgainWhileThePageIsReady)
{
    Addin().SetAccessDialog(nullptr);
    Send(Message("velmart_ready"));
    SetHeader(0);
    ChangeWorkshop("PartWorkshop");
    EXPECT_EQ(HeaderCalls(), (Texts{"1=1", "8=1", "16=1"}));
    EXPECT_TRUE(FindSimilarIsAvailable());
}

TEST_F(PanelWorkbench, AChangeKeepsFindSimilarGreyWhileThePageIsOver)
{
    Addin().SetAccessDialog(nullptr);
    Send(Message("velmart_over"));
    HeaderCalls().clear();
    ChangeWorkshop("PartWorkshop");
    EXPECT_TRUE(HeaderCalls().empty());
    EXPECT_FALSE(FindSimilarIsAvailable());
}

TEST_F(PanelWorkbench, AChangeGreysFindSimilarWhileThePageIsOver)
{
    Addin().SetAccessDialog(nullptr);
    Send(Message("velmart_over"));
    SetHeader(1);
    ChangeWorkshop("PartWorkshop");
    EXPECT_EQ(HeaderCalls(), (Texts{"1=0", "8=0", "16=0"}));
}

TEST_F(PanelWorkbench, AChangeCountsAnUnsetStatusAsNotAvailable)
{
    Addin().SetAccessDialog(nullptr);
    SetHeader(1);
    ChangeWorkshop("PartWorkshop");
    EXPECT_EQ(HeaderCalls(), (Texts{"1=0", "8=0", "16=0"}));
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

    EXPECT_EQ(subscriptions, (std::vector<std::size_t>{1, 1, 1}));
    EXPECT_EQ(LayoutSubscriptions(), 0U);
    EXPECT_FALSE(FindSimilarIsAvailable());
    EXPECT_EQ(CountOf(StatusClass), told);
    EXPECT_EQ(Traces().back(), "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to NotAvailable\n");
}

TEST_F(PanelWorkbench, EndingWithoutALayoutIsQuiet)
{
    Addin().SetAccessDialog(nullptr);
    ConfigureFrame({.layout = false});
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
    EXPECT_EQ(LayoutSubscriptions(), 1U);
}

TEST_F(PanelWorkbench, EndingWithoutAFindSimilarHeaderIsQuiet)
{
    ConfigureCommands({.findSimilarHeader = false});
    ReleaseAddin();
    EXPECT_TRUE(Traces().empty());
}

TEST_F(PanelWorkbench, EndingDuringADownloadLeavesNobodyToTell)
{
    EXPECT_EQ(Send(Message("velmart_open", RemoteFile)), S_OK);
    EXPECT_EQ(Waiting(), 1U);
    ReleaseAddin();
    EXPECT_EQ(Waiting(), 0U);
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_TRUE(Surface().Questions().empty());
}

} // namespace

} // namespace openhost::testing
