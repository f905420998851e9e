#include "openhost/objects/Traces.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/Listener.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/panel.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include <unistd.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ExitedWithCode;
using ::testing::IsEmpty;

const std::string Route = "ZALVelmartFileDownloader::StartDownload - OpenInSource";
const std::string BadUrl = Route + " - ERROR - bad file url\n";
constexpr const char* Item = R"({"downloadUrl": "https://velmart.example/item.zip"})";

/// A request that opens in source, and has an address to fetch besides.
std::string OpenInSource(const std::string& sourceUrl, const std::string& behaviour = "\"openInSource\"")
{
    return R"({"attributes": {"catalog": {"configOpeningBehaviour": )" + behaviour + R"(}, "sourceUrl": ")" +
           sourceUrl + R"("}, "downloadUrl": "https://velmart.example/item.zip"})";
}

class DownloadDispatch : public DownloadFixture {
protected:
    /// Makes a listener of the bridge, or of another class of notifications.
    static void Listen(Listener& listener,
                       const char* notificationClass = ZALDlgHtmlViewJavaScriptNotification::ClassName())
    {
        listener.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(), notificationClass);
    }
    /// Each of `requests` takes the plain route, and no other.
    void ExpectPlainRoute(const std::vector<std::string>& requests)
    {
        for (const std::string& request : requests) {
            SCOPED_TRACE(request);
            Receiver.Received.clear();
            const std::size_t before = Requested().size();
            EXPECT_EQ(S_OK, Start(request));
            EXPECT_THAT(Receiver.Received, IsEmpty());
            ASSERT_EQ(before + 1, Requested().size());
            EXPECT_EQ(Url, Requested().back());
            Transport().Last().End(TransferEnd::Failed);
        }
    }
    static Completion Opened(const std::string& path) { return WithFiles(Notification::DownloadSucceeded, {path}); }
};

// ---------------------------------------------------------------------------------------------
// Open in source

TEST_F(DownloadDispatch, SourceUrlOfAnotherSchemeFailsAndTakesNoOtherRoute)
{
    for (const std::string url : {"no colon at all", ":file:///c:/a", "", "FILE:///c:/a", "File:///c:/a",
                                  " file:///c:/a", "files:///c:/a", "https://velmart.example/a"}) {
        SCOPED_TRACE(url);
        const std::size_t traced = Traces().size();
        EXPECT_EQ(E_FAIL, Start(OpenInSource(url)));
        ASSERT_EQ(traced + 2, Traces().size());
        EXPECT_EQ(Route + " with sourceUrl: " + url + "\n", Traces()[traced]);
        EXPECT_EQ(BadUrl, Traces().back());
    }
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadDispatch, FileUrlSucceedsWithItsLocalPathThoughNoFileIsThere)
{
    const std::string longest = "/" + std::string(4094, 'a');
    const std::vector<std::pair<std::string, std::string>> urls = {
        {"file:///c:/a", "c:/a"},
        {"file:///srv/a%20b/%C3%A9crou.ZALPart", "/srv/a b/écrou.ZALPart"},
        {"file://elsewhere.example/a", ""},
        {"file://" + longest, longest},
        {"file://" + longest + "a", ""}};
    for (const auto& [url, path] : urls) {
        SCOPED_TRACE(url);
        Receiver.Received.clear();
        const std::size_t traced = Traces().size();
        EXPECT_EQ(S_OK, Start(OpenInSource(url)));
        EXPECT_THAT(Receiver.Received, ElementsAre(Opened(path)));
        ASSERT_EQ(traced + 2, Traces().size());
        EXPECT_EQ(Route + " with sourceUrl: " + url + "\n", Traces()[traced]);
        EXPECT_EQ(Route + " path: " + path + "\n", Traces().back());
    }
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(DownloadDispatch, OpenInSourceWithoutASourceUrlFails)
{
    for (const std::string attributes :
         {R"("catalog": {"configOpeningBehaviour": "openInSource"})",
          R"("catalog": {"configOpeningBehaviour": "openInSource"}, "sourceUrl": ["file:///a"])",
          R"("catalog": {"configOpeningBehaviour": "openInSource", "sourceUrl": "file:///a"})"}) {
        EXPECT_EQ(E_FAIL,
                  Start(R"({"downloadUrl": "https://velmart.example/item.zip", "attributes": {)" + attributes + "}}"))
            << attributes;
        EXPECT_EQ(Route + " - ERROR - unable to retrieve infos\n", Traces().back()) << attributes;
    }
    EXPECT_EQ(3U, Traces().size());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(DownloadDispatch, OpeningBehaviourMatchesWithoutRegardToLetterCase)
{
    EXPECT_EQ(S_OK, Start(OpenInSource("file:///c:/a", "\"OPENINSOURCE\"")));
    EXPECT_THAT(Receiver.Received, ElementsAre(Opened("c:/a")));
}

TEST_F(DownloadDispatch, OpenInSourceComesBeforeTheBridgeAndTheTemplateRoute)
{
    Probe.SetTemplateSupport(true);
    EXPECT_EQ(S_OK, Start(OpenInSource("file:///c:/a")));
    EXPECT_EQ(1U, Receiver.Received.size());
    Listener bridge;
    Listen(bridge);
    EXPECT_EQ(S_OK, Start(OpenInSource("file:///c:/a")));
    EXPECT_EQ(2U, Receiver.Received.size());
    EXPECT_EQ(0, bridge.Calls());
}

TEST_F(DownloadDispatch, OpenInSourceLeavesARunningTransferAlone)
{
    const auto& script = StartTransfer();
    EXPECT_EQ(S_OK, Start(OpenInSource("file:///c:/a")));
    EXPECT_TRUE(script.IsRunning());
    EXPECT_NE(nullptr, Probe.HttpRequest());
}

TEST_F(DownloadDispatch, ReceiverMayStartTheNextDownloadInsideTheNotification)
{
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        EXPECT_EQ(S_OK, Start(OpenInSource("file:///c:/b")));
    };
    EXPECT_EQ(S_OK, Start(OpenInSource("file:///c:/a")));
    EXPECT_THAT(Receiver.Received, ElementsAre(Opened("c:/a"), Opened("c:/b")));
}

// ---------------------------------------------------------------------------------------------
// Requests that fall through to the normal routes

TEST_F(DownloadDispatch, OtherBehaviourTakesThePlainRouteThoughASourceUrlIsThere)
{
    std::vector<std::string> requests;
    for (const char* behaviour : {R"("openInSourceX")", R"("openInSourc")", R"("")", R"(" openInSource")", "null",
                                  "true", "1", R"(["openInSource"])", R"({"openInSource": 1})"})
        requests.push_back(OpenInSource("file:///c:/a", behaviour));
    ExpectPlainRoute(requests);
}

TEST_F(DownloadDispatch, RequestWithoutACatalogTakesThePlainRoute)
{
    std::vector<std::string> requests{Item};
    for (const std::string attributes :
         {"null", R"("catalog")", "{}", R"({"catalog": null})", R"({"catalog": "openInSource"})", R"({"catalog": {}})"})
        requests.push_back(R"({"downloadUrl": "https://velmart.example/item.zip", "attributes": )" + attributes + "}");
    ExpectPlainRoute(requests);
}

TEST_F(DownloadDispatch, RequestWithoutAnAddressFailsWithoutNotification)
{
    for (const char* request : {"[1, 2]", "\"text\"", "null",
                                R"({"attributes": {"downloadUrls": {"OTHER": "https://velmart.example/x"}}, "id": 7})"})
        EXPECT_EQ(E_FAIL, Start(request)) << request;
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Choice between bridge, template and plain route

TEST_F(DownloadDispatch, BridgeLastsAsLongAsItsListener)
{
    {
        Listener bridge;
        Listen(bridge);
        EXPECT_EQ(S_OK, Start(Item));
        EXPECT_EQ(nullptr, Probe.HttpRequest());
        EXPECT_THAT(Requested(), IsEmpty());
    }
    ExpectPlainRoute({Item});
}

TEST_F(DownloadDispatch, BridgeComesBeforeTheTemplateRoute)
{
    Listener bridge;
    Listen(bridge);
    Probe.SetTemplateSupport(true);
    SetSettings({}, false);
    EXPECT_EQ(S_OK, Start(Item));
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty()) << "the template route would ask for the folder";
}

TEST_F(DownloadDispatch, ListenerForOtherNotificationsIsNoBridge)
{
    Listener listener;
    Listen(listener, "ZALNotification");
    ExpectPlainRoute({Item});
}

TEST_F(DownloadDispatch, TemplateRouteWithAFolderDoesNotTakeThePlainRoute)
{
    Probe.SetTemplateSupport(true);
    Start(Item);
    EXPECT_EQ(nullptr, Probe.HttpRequest());
    EXPECT_EQ(nullptr, Probe.ProgressDlg());
}

TEST_F(DownloadDispatch, PlainRouteDoesNotAskForTheFolderBeforeTheTransfer)
{
    SetSettings({}, false);
    EXPECT_EQ(S_OK, Start(Item));
    EXPECT_THAT(Requested(), ElementsAre(Url));
}

TEST_F(DownloadDispatch, SecondDownloadFailsAndLeavesTheFirstOneAlone)
{
    ASSERT_EQ(S_OK, Start(Item));
    EXPECT_EQ(E_FAIL, Start(R"({"downloadUrl": "https://velmart.example/other.zip"})"));
    EXPECT_THAT(Requested(), ElementsAre(Url));
    EXPECT_TRUE(Transport().Last().IsRunning());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadDispatch, LastRequestIsKeptThoughItFails)
{
    Start(Item);
    for (const char* request : {R"({"downloadUrl": "https://velmart.example/other.zip"})",
                                R"({"attributes": {"catalog": {"configOpeningBehaviour": "openInSource"}},
                                    "downloadUrl": "https://velmart.example/other.zip"})"}) {
        Probe.SetDownloadRequest({});
        EXPECT_EQ(E_FAIL, Start(request));
        ZALUnicodeString url;
        EXPECT_EQ(S_OK, GetDownloadURL(Probe.DownloadRequest(), url));
        EXPECT_EQ("https://velmart.example/other.zip", ToUtf8(url));
    }
}

// ---------------------------------------------------------------------------------------------
// The address

struct AddressCase {
    const char* name;
    const char* request;
    const char* url; ///< null when there is none

    friend std::ostream& operator<<(std::ostream& stream, const AddressCase& address) { return stream << address.name; }
};

class DownloadAddress : public ::testing::TestWithParam<AddressCase> {};

TEST_P(DownloadAddress, IsTheFirstThatApplies)
{
    ZALUnicodeString url = "as before";
    const HRESULT result = GetDownloadURL(Json(GetParam().request), url);
    EXPECT_EQ(GetParam().url ? S_OK : E_FAIL, result);
    EXPECT_EQ(GetParam().url ? GetParam().url : "as before", ToUtf8(url));
}

const AddressCase DownloadAddressCases[] = {
    {"RawBeforeAll", R"({"download": "d", "downloadUrl": "u", "attributes": {"downloadUrls": {"ZALOR_RAW": "r"}}})",
     "r"},
    {"RawOfAnotherType", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"ZALOR_RAW": 1}}})", "u"},
    {"RawMissing", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"STEP": "s"}}})", "u"},
    {"RawInAnotherLetterCase", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"zalor_raw": "r"}}})", "u"},
    {"DownloadUrlsIsText", R"({"downloadUrl": "u", "attributes": {"downloadUrls": "r"}})", "u"},
    {"RawAtTheTopLevel", R"({"download": "d", "downloadUrls": {"ZALOR_RAW": "r"}, "ZALOR_RAW": "r"})", "d"},
    {"EmptyRawIsAString", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"ZALOR_RAW": ""}}})", ""},
    {"DownloadUrlBeforeDownload", R"({"download": "d", "downloadUrl": "u"})", "u"},
    {"DownloadUrlOfAnotherType", R"({"download": "d", "downloadUrl": null})", "d"},
    {"DownloadAlone", R"({"download": "d"})", "d"},
    {"DownloadOfAnotherType", R"({"download": {"url": "d"}})", nullptr},
    {"AddressesInsideAttributes", R"({"attributes": {"downloadUrl": "u", "download": "d"}})", nullptr},
    {"NoMap", R"(["downloadUrl"])", nullptr}};

INSTANTIATE_TEST_SUITE_P(Requests, DownloadAddress, ::testing::ValuesIn(DownloadAddressCases));

// ---------------------------------------------------------------------------------------------
// Template support, settled once in the life of a process

constexpr const char* FirstVariable = "ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT";
constexpr const char* SwatchVariable = "ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT_SWATCH_ONLY";
constexpr int SupportOn = 10;
constexpr int SupportOff = 11;

/// What is done in a fresh process, without the variables at first.
struct SupportCase {
    const char* name;
    int exitCode;
    void (*steps)(ZALVelmartFileDownloaderProbe& probe);

    friend std::ostream& operator<<(std::ostream& stream, const SupportCase& support) { return stream << support.name; }
};

/// Ends the process with what the steps have made of the template support.
[[noreturn]] void ExitWithSupport(const SupportCase& support)
{
    bool on = false;
    {
        ScriptedHost host;
        ZALVelmartFileDownloaderProbe probe;
        unsetenv(FirstVariable);
        unsetenv(SwatchVariable);
        support.steps(probe);
        on = ZALVelmartFileDownloaderProbe::TemplateSupport();
    }
    std::exit(on ? SupportOn : SupportOff);
}

class TemplateSupport : public ::testing::TestWithParam<SupportCase> {};

TEST_P(TemplateSupport, IsSettledByTheVariablesAtTheFirstDefaultDownload)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ExitWithSupport(GetParam()), ExitedWithCode(GetParam().exitCode), "");
}

using SupportProbe = ZALVelmartFileDownloaderProbe;

INSTANTIATE_TEST_SUITE_P(Steps, TemplateSupport,
                         ::testing::Values(SupportCase{"OnWithTheSwatchVariable", SupportOn,
                                                       [](SupportProbe& probe) {
                                                           setenv(SwatchVariable, "1", 1);
                                                           probe.StartDefaultDownload({});
                                                       }},
                                           SupportCase{"OnWithTheFirstVariableThoughEmpty", SupportOn,
                                                       [](SupportProbe& probe) {
                                                           setenv(FirstVariable, "", 1);
                                                           probe.StartDefaultDownload({});
                                                       }},
                                           SupportCase{"OffWithoutTheVariablesThoughTheyCome", SupportOff,
                                                       [](SupportProbe& probe) {
                                                           probe.StartDefaultDownload({});
                                                           setenv(FirstVariable, "1", 1);
                                                           setenv(SwatchVariable, "1", 1);
                                                           probe.StartDefaultDownload({});
                                                       }},
                                           SupportCase{"OnThoughTheVariableGoes", SupportOn,
                                                       [](SupportProbe& probe) {
                                                           setenv(FirstVariable, "1", 1);
                                                           probe.StartDefaultDownload({});
                                                           unsetenv(FirstVariable);
                                                           probe.StartDefaultDownload({});
                                                       }},
                                           SupportCase{"NotByOpenInSource", SupportOn, [](SupportProbe& probe) {
                                                           probe.Downloader().StartDownload(
                                                               Json(OpenInSource("file:///c:/a")));
                                                           setenv(SwatchVariable, "1", 1);
                                                           probe.StartDefaultDownload({});
                                                       }}));

// ---------------------------------------------------------------------------------------------
// The singleton and its class

TEST_F(DownloadDispatch, InstanceIsAlwaysTheSameOne)
{
    ZALVelmartFileDownloader* instance = ZALVelmartFileDownloader::GetInstance();
    ASSERT_NE(nullptr, instance);
    EXPECT_EQ(instance, ZALVelmartFileDownloader::GetInstance());
    EXPECT_EQ(2U, instance->AddRef()) << "no reference is added";
    instance->Release();
}

TEST(DownloadDispatchDeathTest, InstanceEndsWithTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr int ended = 12;
    static ZALBaseUnknown_WR instance;
    EXPECT_EXIT(
        {
            // Called after what the downloader asks for later.
            std::atexit([] { _exit(instance.GetComponent() ? 1 : ended); });
            instance = ZALVelmartFileDownloader::GetInstance();
            std::exit(0);
        },
        ExitedWithCode(ended), "");
}

TEST_F(DownloadDispatch, IsACommandOfModeThree)
{
    EXPECT_STREQ("ZALVelmartFileDownloader", Downloader().GetName().CastToCharPtr());
    EXPECT_EQ(3, Downloader().GetMode());
}

TEST_F(DownloadDispatch, IsRecordedUnderItsNameAndModule)
{
    ZALMetaClass* record = ZALVelmartFileDownloader::MetaObject();
    EXPECT_STREQ("ZALVelmartFileDownloader", record->GetName());
    EXPECT_STREQ("ZALVelmartIntegration", record->GetModule());
    EXPECT_EQ(ZALCommand::MetaObject(), record->GetBase());
    EXPECT_EQ(record, Downloader().GetMetaObject());
    EXPECT_STREQ("ZALVelmartFileDownloader", Downloader().IsA());
    EXPECT_STREQ("ZALVelmartFileDownloader", ZALVelmartFileDownloader::ClassId());
    EXPECT_EQ(1, Downloader().IsAKindOf("ZALCommand"));
    EXPECT_EQ(nullptr, ZALVelmartFileDownloader::CreateItself());
}

TEST_F(DownloadDispatch, NothingIsTracedWhileTracesAreOff)
{
    SwitchTraces(false);
    Start(OpenInSource("file:///c:/a"));
    Start(OpenInSource("http://x"));
    EXPECT_THAT(Traces(), IsEmpty());
}

} // namespace
} // namespace openhost::testing
