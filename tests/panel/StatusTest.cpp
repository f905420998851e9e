// The status of the page's programming interface, and the availability of Find Similar that follows it.

#include "tests/panel/PanelFixture.h"

#include "host/dialog_engine.h"
#include "openhost/objects/Traces.h"

#include <cctype>

namespace openhost::testing {
namespace {

class PanelStatus : public PanelFixture {
protected:
    /// The page is ready, and knows `url` for uploads.
    void Ready(const std::string& url)
    {
        EXPECT_EQ(S_OK, Send(Message("velmart_ready", R"({"searchByUploadUrl":")" + url + "\"}")));
    }
};

TEST_F(PanelStatus, StartsUnsetWithoutASubscriptionOrAnUploadAddress)
{
    EXPECT_EQ(OpApiUnset, Addin().GetOpApiStatus());
    ZALUnicodeString url = "before";
    EXPECT_EQ(E_FAIL, Addin().GetSearchByUploadUrl(url));
    EXPECT_EQ("", ToUtf8(url));
    EXPECT_EQ(0U, Waiting());
    EXPECT_EQ(0U, LayoutSubscriptions());
}

// ---------------------------------------------------------------------------------------------
// Ready and over

TEST_F(PanelStatus, ReadyIsToldOnceThoughThePageSaysItTwice)
{
    EXPECT_EQ(S_OK, Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://one/","t":1})")));
    EXPECT_EQ("https://one/", UploadUrl());
    EXPECT_EQ(S_OK, Send(Message("velmart_ready", R"({"searchByUploadUrl":"https://two/","t":2})")));
    EXPECT_EQ("https://two/", UploadUrl());
    EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
    EXPECT_EQ(1, CountOf(StatusClass));
}

TEST_F(PanelStatus, ReadyHandsTheWholeContentOverEachTime)
{
    for (const std::int64_t number : {1, 2}) {
        Send(Message("velmart_ready", R"({"searchByUploadUrl":"u","templates":)" + std::to_string(number) + "}"));
        ZALOmxAny templates;
        std::int64_t handed = 0;
        ASSERT_EQ(2, ZALVelmartFileDownloaderProbe::Templates().MapSize());
        ASSERT_EQ(S_OK, ZALVelmartFileDownloaderProbe::Templates().MapGetValue("templates", templates));
        templates.GetInteger(handed);
        EXPECT_EQ(number, handed);
    }
}

TEST_F(PanelStatus, ReadyWithoutAnUploadAddressKeepsTheOneOfBefore)
{
    for (const std::string before : {"", "https://one/"})
        for (const char* content : {"{}", R"({"searchByUploadUrl":1})", R"({"searchByUploadUrl":null})",
                                    R"({"searchByUploadUrl":["x"]})", R"({"searchByUploadURL":"x"})", "7"}) {
            SCOPED_TRACE(content);
            if (!before.empty())
                Ready(before);
            EXPECT_EQ(S_OK, Send(Message("velmart_ready", content)));
            EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
            EXPECT_EQ(before, UploadUrl());
        }
}

TEST_F(PanelStatus, UploadAddressIsTheLastOneAndThereUnlessItIsEmpty)
{
    Ready("https://one/");
    for (const std::string address : {"", "u"}) {
        Ready(address);
        Send(Message("velmart_over"));
        ZALUnicodeString url = "before";
        EXPECT_EQ(address.empty() ? E_FAIL : S_OK, Addin().GetSearchByUploadUrl(url));
        EXPECT_EQ(address, ToUtf8(url));
    }
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
        EXPECT_EQ(S_OK, Send(Message(step.event)));
        EXPECT_EQ(step.status, Addin().GetOpApiStatus());
        EXPECT_EQ(step.told, CountOf(StatusClass));
    }
}

TEST_F(PanelStatus, TheChangeIsToldByTheAddinAfterItAndBeforeFindSimilarFollows)
{
    Listener listener([this](ZALBaseUnknown* publisher, ZALNotification* notification, void*) {
        EXPECT_EQ(&Addin(), publisher);
        EXPECT_STREQ(notification->IsA(), StatusClass);
        EXPECT_EQ(0, notification->GetAutomaticDelete());
        EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
        EXPECT_EQ("u", UploadUrl());
        EXPECT_EQ(1, ZALVelmartFileDownloaderProbe::Templates().MapSize());
        EXPECT_FALSE(FindSimilarIsAvailable());
        EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready"));
    });
    listener.Subscribe(&Addin(), StatusClass);
    Ready("u");
    EXPECT_EQ(1, listener.Calls());
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
    EXPECT_EQ((std::vector<OpApiStatus>{OpApiUnset, OpApiReady}), statuses);
}

TEST_F(PanelStatus, OverWithoutContentLeavesThePageReady)
{
    Send(Message("velmart_ready"));
    EXPECT_EQ(E_FAIL, Send(R"({"event":"velmart_over"})"));
    EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
    EXPECT_TRUE(FindSimilarIsAvailable());
    EXPECT_EQ(1, CountOf(StatusClass));
}

TEST_F(PanelStatus, TracesEachStep)
{
    Send(Message("velmart_ready"));
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    EXPECT_EQ((Texts{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_ready\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to Available\n",
                     "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_ready\n",
                     "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_over\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Over\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to NotAvailable\n"}),
              Traces());
}

// ---------------------------------------------------------------------------------------------
// Find Similar

TEST_F(PanelStatus, FindSimilarChangesAfterTheTraceOfIt)
{
    std::vector<bool> traced;
    journal::Redirect([&](const nlohmann::ordered_json& line) {
        if (line.contains("header"))
            traced.push_back(Traced("ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to Available"));
    });
    Send(Message("velmart_ready"));
    journal::Redirect({});
    EXPECT_EQ((std::vector<bool>{true, true, true}), traced);
}

TEST_F(PanelStatus, FindSimilarFollowsModeByModeAndIsNotSetToWhatItIs)
{
    Send(Message("velmart_over"));
    EXPECT_EQ(Texts(), HeaderCalls());
    Send(Message("velmart_ready"));
    Send(Message("velmart_ready"));
    EXPECT_EQ((Texts{"1=1", "8=1", "16=1"}), HeaderCalls());
    HeaderCalls().clear();
    Send(Message("velmart_over"));
    EXPECT_EQ((Texts{"1=0", "8=0", "16=0"}), HeaderCalls());
}

TEST_F(PanelStatus, ReadyAgainBringsFindSimilarBackThoughTheStatusStays)
{
    Send(Message("velmart_ready"));
    ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0)->SetAvailability(ZALHeaderInGlobalMode, 0);
    Send(Message("velmart_ready"));
    EXPECT_TRUE(FindSimilarIsAvailable());
    EXPECT_EQ(1, CountOf(StatusClass));
}

TEST_F(PanelStatus, WithoutAFindSimilarHeaderTheStatusAloneChanges)
{
    ConfigureCommands({.findSimilarHeader = false});
    EXPECT_EQ(S_OK, Send(Message("velmart_ready")));
    EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
    EXPECT_EQ((Texts{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_ready\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Ready\n"}),
              Traces());
}

// ---------------------------------------------------------------------------------------------
// The page's address

TEST_F(PanelStatus, APageElsewhereMeansOver)
{
    Send(Message("velmart_ready"));
    const std::size_t traced = Traces().size();
    EXPECT_EQ(S_OK, Addin().OnPageUrl(PageElsewhere));
    EXPECT_EQ(OpApiOver, Addin().GetOpApiStatus());
    EXPECT_FALSE(FindSimilarIsAvailable());
    EXPECT_EQ(2, CountOf(StatusClass));
    EXPECT_EQ((Texts{"ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Over\n",
                     "ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to NotAvailable\n"}),
              Texts(Traces().begin() + static_cast<std::ptrdiff_t>(traced), Traces().end()));
}

TEST_F(PanelStatus, APageElsewhereIsToldOnce)
{
    Addin().OnPageUrl(PageElsewhere);
    Addin().OnPageUrl("https://elsewhere.example/again");
    EXPECT_EQ(1, CountOf(StatusClass));
    EXPECT_EQ(Texts{"ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to Over\n"}, Traces());
}

TEST_F(PanelStatus, APageElsewhereGreysFindSimilarThoughTheStatusIsOverAlready)
{
    Send(Message("velmart_over"));
    SetHeader(1);
    EXPECT_EQ(S_OK, Addin().OnPageUrl(PageElsewhere));
    EXPECT_EQ((Texts{"1=0", "8=0", "16=0"}), HeaderCalls());
    EXPECT_EQ(1, CountOf(StatusClass));
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
    EXPECT_EQ((std::vector<bool>{true, false, true}), available);
}

TEST_F(PanelStatus, APageOfTheCatalogueLeavesTheStatusAlone)
{
    const std::string host = VelmartProductionHost;
    for (const std::string& url : {CataloguePage + "search?q=bolt", "http://" + host, OtherDeploymentsPage,
                                   PageElsewhere + ("?from=" + host), host, std::string(VelmartOtherHostsFragment)}) {
        EXPECT_EQ(S_OK, Addin().OnPageUrl(url.c_str()));
        EXPECT_EQ(OpApiUnset, Addin().GetOpApiStatus()) << url;
    }
    EXPECT_TRUE(Notifications().empty());
    EXPECT_TRUE(HeaderCalls().empty());
}

TEST_F(PanelStatus, APageOfTheCatalogueDoesNotUndoOver)
{
    Send(Message("velmart_ready"));
    Addin().OnPageUrl(PageElsewhere);
    Addin().OnPageUrl(CataloguePage.c_str());
    EXPECT_EQ(OpApiOver, Addin().GetOpApiStatus());
    EXPECT_FALSE(FindSimilarIsAvailable());
}

TEST_F(PanelStatus, PageWithoutTheHostNameInItsLetterCaseIsElsewhere)
{
    std::string inOtherCase = CataloguePage;
    for (char& letter : inOtherCase)
        letter = static_cast<char>(std::islower(letter) ? std::toupper(letter) : std::tolower(letter));
    for (const std::string& url : {inOtherCase, std::string()}) {
        Send(Message("velmart_ready"));
        EXPECT_EQ(S_OK, Addin().OnPageUrl(url.c_str()));
        EXPECT_EQ(OpApiOver, Addin().GetOpApiStatus()) << url;
    }
}

} // namespace
} // namespace openhost::testing
