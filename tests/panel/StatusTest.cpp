// The status of the page's programming interface, and the availability of Find Similar that follows it.

#include "tests/panel/PanelFixture.h"

#include "host/dialog_engine.h"
#include "host/frame.h"
#include "openhost/objects/Traces.h"

#include <cctype>

namespace openhost::testing {

namespace {

class PanelStatus : public PanelFixture {};

using Texts = std::vector<std::string>;

TEST_F(PanelStatus, StartsUnsetWithoutASubscriptionOrAnUploadAddress)
{
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiUnset);
    ZALUnicodeString url = "before";
    EXPECT_EQ(Addin().GetSearchByUploadUrl(url), E_FAIL);
    EXPECT_EQ(ToUtf8(url), "");
    EXPECT_EQ(Waiting(), 0U);
    EXPECT_TRUE(SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).empty());
}

// ---------------------------------------------------------------------------------------------
// Ready and over

TEST_F(PanelStatus, ReadyIsToldOnceThoughThePageSaysItTwice)
{
    EXPECT_EQ(Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://one/","t":1})")), S_OK);
    EXPECT_EQ(UploadUrl(), "https://one/");
    EXPECT_EQ(Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://two/","t":2})")), S_OK);
    EXPECT_EQ(UploadUrl(), "https://two/");
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(CountOf(StatusClass), 1);
}

TEST_F(PanelStatus, ReadyHandsTheWholeContentOverEachTime)
{
    for (const std::int64_t number : {1, 2}) {
        Send(Message("velmart_ready", R"({"searchByUploadUrl":"u","templates":)" + std::to_string(number) + "}"));
        ZALOmxAny templates;
        std::int64_t handed = 0;
        ASSERT_EQ(ZALVelmartFileDownloaderProbe::Templates().MapSize(), 2);
        ASSERT_EQ(ZALVelmartFileDownloaderProbe::Templates().MapGetValue("templates", templates), S_OK);
        templates.GetInteger(handed);
        EXPECT_EQ(handed, number);
    }
}

TEST_F(PanelStatus, ReadyWithoutAnUploadAddressKeepsTheOneOfBefore)
{
    Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://one/"})"));
    for (const char* content : {"{}", R"({"searchByUploadUrl":1})", R"({"searchByUploadUrl":null})",
                                R"({"searchByUploadUrl":["x"]})", R"({"searchByUploadURL":"x"})", "7"}) {
        EXPECT_EQ(Send(Message("velmart_ready", content)), S_OK) << content;
        EXPECT_EQ(UploadUrl(), "https://one/") << content;
    }
}

TEST_F(PanelStatus, ReadyWithoutAnUploadAddressIsReadyAllTheSame)
{
    EXPECT_EQ(Send(Message("velmart_ready", R"({"searchByUploadUrl":1})")), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    ZALUnicodeString url;
    EXPECT_EQ(Addin().GetSearchByUploadUrl(url), E_FAIL);
}

TEST_F(PanelStatus, AnEmptyUploadAddressReplacesTheOneOfBefore)
{
    Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://one/"})"));
    Send(Message("velmart_ready", R"({"searchByUploadUrl":""})"));
    ZALUnicodeString url = "before";
    EXPECT_EQ(Addin().GetSearchByUploadUrl(url), E_FAIL);
    EXPECT_EQ(ToUtf8(url), "");
}

TEST_F(PanelStatus, AnUploadAddressOfOneCharacterCounts)
{
    Send(Message("velmart_ready", R"({"searchByUploadUrl":"u"})"));
    ZALUnicodeString url;
    EXPECT_EQ(Addin().GetSearchByUploadUrl(url), S_OK);
    EXPECT_EQ(ToUtf8(url), "u");
}

TEST_F(PanelStatus, OverKeepsTheUploadAddress)
{
    Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://one/"})"));
    Send(Message("velmart_over"));
    EXPECT_EQ(UploadUrl(), "https://one/");
}

TEST_F(PanelStatus, EachChangeIsToldAndNoRepetitionIs)
{
    const struct {
        const char* event;
        OpApiStatus status;
        int told;
    } steps[] = {{"velmart_over", OpApiOver, 1},   {"velmart_over", OpApiOver, 1}, {"velmart_ready", OpApiReady, 2},
                 {"velmart_ready", OpApiReady, 2}, {"velmart_over", OpApiOver, 3}, {"velmart_ready", OpApiReady, 4}};
    for (const auto& step : steps) {
        EXPECT_EQ(Send(Message(step.event)), S_OK);
        EXPECT_EQ(Addin().GetOpApiStatus(), step.status);
        EXPECT_EQ(CountOf(StatusClass), step.told);
    }
}

TEST_F(PanelStatus, TheChangeIsToldByTheAddinAfterItAndBeforeFindSimilarFollows)
{
    Listener listener([this](ZALBaseUnknown* publisher, ZALNotification* notification, void*) {
        EXPECT_EQ(publisher, &Addin());
        EXPECT_STREQ(notification->IsA(), StatusClass);
        EXPECT_EQ(notification->GetAutomaticDelete(), 0);
        EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
        EXPECT_EQ(UploadUrl(), "u");
        EXPECT_EQ(ZALVelmartFileDownloaderProbe::Templates().MapSize(), 1);
        EXPECT_FALSE(FindSimilarIsAvailable());
    });
    listener.Subscribe(&Addin(), StatusClass);
    Send(Message("velmart_ready", R"({"searchByUploadUrl":"u"})"));
    EXPECT_EQ(listener.Calls(), 1);
    EXPECT_TRUE(FindSimilarIsAvailable());
}

TEST_F(PanelStatus, TheTraceOfAChangeComesBeforeTheChange)
{
    std::vector<OpApiStatus> statuses;
    RedirectTraces([&](std::string_view, std::string_view text) {
        if (text.starts_with("ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus"))
            statuses.push_back(Addin().GetOpApiStatus());
    });
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    RedirectTraces({});
    EXPECT_EQ(statuses, (std::vector<OpApiStatus>{OpApiUnset, OpApiReady}));
}

TEST_F(PanelStatus, TheTraceOfAChangeComesBeforeItIsTold)
{
    bool traced = false;
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) {
        traced = Traced("ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready");
    });
    listener.Subscribe(&Addin(), StatusClass);
    Send(Message("velmart_ready"));
    EXPECT_TRUE(traced);
}

TEST_F(PanelStatus, OverWithoutContentLeavesThePageReady)
{
    Send(Message("velmart_ready"));
    EXPECT_EQ(Send(R"({"event":"velmart_over"})"), E_FAIL);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_TRUE(FindSimilarIsAvailable());
    EXPECT_EQ(CountOf(StatusClass), 1);
}

TEST_F(PanelStatus, TracesEachStep)
{
    Send(Message("velmart_ready"));
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    EXPECT_EQ(Traces(), (Texts{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_ready\n",
                               "ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready\n",
                               "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to Available\n",
                               "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_ready\n",
                               "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_over\n",
                               "ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Over\n",
                               "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to NotAvailable\n"}));
}

// ---------------------------------------------------------------------------------------------
// Find Similar

TEST_F(PanelStatus, ReadyMakesFindSimilarAvailableModeByMode)
{
    Send(Message("velmart_ready"));
    EXPECT_EQ(HeaderCalls(), (Texts{"1=1", "8=1", "16=1"}));
}

TEST_F(PanelStatus, OverGreysFindSimilarModeByMode)
{
    Send(Message("velmart_ready"));
    HeaderCalls().clear();
    Send(Message("velmart_over"));
    EXPECT_EQ(HeaderCalls(), (Texts{"1=0", "8=0", "16=0"}));
}

TEST_F(PanelStatus, FindSimilarChangesAfterTheTraceOfIt)
{
    std::vector<bool> traced;
    journal::Redirect([&](const nlohmann::ordered_json& line) {
        if (line.contains("header"))
            traced.push_back(Traced("ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to Available"));
    });
    Send(Message("velmart_ready"));
    journal::Redirect({});
    EXPECT_EQ(traced, (std::vector<bool>{true, true, true}));
}

TEST_F(PanelStatus, WhatFindSimilarIsAlreadyIsNotSetAgain)
{
    Send(Message("velmart_over"));
    EXPECT_TRUE(HeaderCalls().empty());
    Send(Message("velmart_ready"));
    HeaderCalls().clear();
    Send(Message("velmart_ready"));
    EXPECT_TRUE(HeaderCalls().empty());
}

TEST_F(PanelStatus, ReadyAgainBringsFindSimilarBackThoughTheStatusStays)
{
    Send(Message("velmart_ready"));
    ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0)->SetAvailability(ZALHeaderInGlobalMode, 0);
    Send(Message("velmart_ready"));
    EXPECT_TRUE(FindSimilarIsAvailable());
    EXPECT_EQ(CountOf(StatusClass), 1);
}

TEST_F(PanelStatus, WithoutAFindSimilarHeaderNothingIsTracedAndTheStatusStillChanges)
{
    ConfigureCommands({.findSimilarHeader = false});
    EXPECT_EQ(Send(Message("velmart_ready")), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(Traces(), (Texts{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_ready\n",
                               "ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready\n"}));
}

// ---------------------------------------------------------------------------------------------
// The page's address

TEST_F(PanelStatus, APageElsewhereMeansOver)
{
    Send(Message("velmart_ready"));
    const std::size_t traced = Traces().size();
    EXPECT_EQ(Addin().OnPageUrl(PageElsewhere), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiOver);
    EXPECT_FALSE(FindSimilarIsAvailable());
    EXPECT_EQ(CountOf(StatusClass), 2);
    EXPECT_EQ(Texts(Traces().begin() + static_cast<std::ptrdiff_t>(traced), Traces().end()),
              (Texts{"ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Over\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to NotAvailable\n"}));
}

TEST_F(PanelStatus, APageElsewhereIsToldOnce)
{
    Addin().OnPageUrl(PageElsewhere);
    Addin().OnPageUrl("https://elsewhere.example/again");
    EXPECT_EQ(CountOf(StatusClass), 1);
    EXPECT_EQ(Traces(), Texts{"ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Over\n"});
}

TEST_F(PanelStatus, APageElsewhereGreysFindSimilarThoughTheStatusIsOverAlready)
{
    Send(Message("velmart_over"));
    ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0);
    for (const int mode : {ZALHeaderInGlobalMode, ZALHeaderInLocalMode, ZALHeaderInContextMode})
        header->SetAvailability(mode, 1);
    HeaderCalls().clear();
    EXPECT_EQ(Addin().OnPageUrl(PageElsewhere), S_OK);
    EXPECT_EQ(HeaderCalls(), (Texts{"1=0", "8=0", "16=0"}));
    EXPECT_EQ(CountOf(StatusClass), 1);
}

TEST_F(PanelStatus, TheChangeToOverIsToldBeforeFindSimilarIsGreyed)
{
    Send(Message("velmart_ready"));
    std::vector<bool> available;
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) { available.push_back(FindSimilarIsAvailable()); });
    listener.Subscribe(&Addin(), StatusClass);
    Addin().OnPageUrl(PageElsewhere);
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    EXPECT_EQ(available, (std::vector<bool>{true, false, true}));
}

TEST_F(PanelStatus, APageOfTheCatalogueLeavesTheStatusAlone)
{
    const std::string host = VelmartProductionHost;
    for (const std::string& url : {CataloguePage + "search?q=bolt", "http://" + host, OtherDeploymentsPage,
                                   PageElsewhere + ("?from=" + host), host, std::string(VelmartOtherHostsFragment)}) {
        EXPECT_EQ(Addin().OnPageUrl(url.c_str()), S_OK);
        EXPECT_EQ(Addin().GetOpApiStatus(), OpApiUnset) << url;
    }
    EXPECT_TRUE(Notifications().empty());
    EXPECT_TRUE(HeaderCalls().empty());
}

TEST_F(PanelStatus, APageOfTheCatalogueDoesNotUndoOver)
{
    Send(Message("velmart_ready"));
    Addin().OnPageUrl(PageElsewhere);
    Addin().OnPageUrl(CataloguePage.c_str());
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiOver);
    EXPECT_FALSE(FindSimilarIsAvailable());
}

TEST_F(PanelStatus, TheHostNameIsComparedWithItsLetterCase)
{
    std::string url = CataloguePage;
    for (char& letter : url)
        letter = static_cast<char>(std::islower(letter) ? std::toupper(letter) : std::tolower(letter));
    Addin().OnPageUrl(url.c_str());
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiOver);
}

TEST_F(PanelStatus, AnEmptyAddressIsAPageElsewhere)
{
    EXPECT_EQ(Addin().OnPageUrl(""), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiOver);
}

} // namespace

} // namespace openhost::testing
