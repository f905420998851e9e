#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/panel.h"
#include "openhost/objects/Traces.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include <unistd.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ExitedWithCode;
using ::testing::IsEmpty;

constexpr const char* MissingInfos =
    "ZALVelmartFileDownloader::StartDownload - OpenInSource - ERROR - unable to retrieve infos\n";
constexpr const char* BadUrl = "ZALVelmartFileDownloader::StartDownload - OpenInSource - ERROR - bad file url\n";

/// A request that opens in source, and has an address to fetch besides.
std::string OpenInSource(const std::string& sourceUrl, const std::string& behaviour = "\"openInSource\"")
{
    return R"({"attributes": {"catalog": {"configOpeningBehaviour": )" + behaviour + R"(}, "sourceUrl": ")" +
           sourceUrl + R"("}, "downloadUrl": "https://velmart.example/item.zip"})";
}

/// Listens for messages of the bridge, or for another class of notifications.
class Listener : public ZALEventSubscriber {
public:
    explicit Listener(const char* notificationClass = ZALDlgHtmlViewJavaScriptNotification::ClassName())
    {
        AddCallback(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(), notificationClass,
                    &Listener::OnMessage, nullptr);
    }
    void OnMessage(ZALBaseUnknown*, ZALNotification*, void*) {}
};

class DownloadDispatch : public DownloadFixture {
protected:
    /// The addresses that were requested.
    std::vector<std::string> Requested()
    {
        std::vector<std::string> urls;
        for (const HttpRequestData& request : Transport().Requests())
            urls.push_back(request.url);
        return urls;
    }
};

// ---------------------------------------------------------------------------------------------
// Open in source

TEST_F(DownloadDispatch, SourceUrlWithoutColonFailsAndTakesNoOtherRoute)
{
    EXPECT_EQ(Start(OpenInSource("no colon at all")), E_FAIL);

    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Traces(),
                ElementsAre("ZALVelmartFileDownloader::StartDownload - OpenInSource with sourceUrl: no colon at all\n",
                            BadUrl));
}

TEST_F(DownloadDispatch, SourceUrlThatStartsWithAColonHasNoScheme)
{
    EXPECT_EQ(Start(OpenInSource(":file:///c:/a")), E_FAIL);
    EXPECT_EQ(Traces().back(), BadUrl);
}

TEST_F(DownloadDispatch, EmptySourceUrlHasNoScheme)
{
    EXPECT_EQ(Start(OpenInSource("")), E_FAIL);
    EXPECT_EQ(Traces().back(), BadUrl);
}

class RefusedScheme : public DownloadDispatch, public ::testing::WithParamInterface<NamedText> {};

TEST_P(RefusedScheme, FailsWithoutNotificationOrRequest)
{
    EXPECT_EQ(Start(OpenInSource(GetParam().text)), E_FAIL);

    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre("ZALVelmartFileDownloader::StartDownload - OpenInSource with sourceUrl: " +
                                          GetParam().text + "\n",
                                      BadUrl));
}

INSTANTIATE_TEST_SUITE_P(Schemes, RefusedScheme,
                         ::testing::Values(NamedText{"FileInCapitals", "FILE:///c:/a"},
                                           NamedText{"FileWithACapital", "File:///c:/a"},
                                           NamedText{"FileBehindABlank", " file:///c:/a"},
                                           NamedText{"Files", "files:///c:/a"},
                                           NamedText{"Https", "https://velmart.example/a"}));

TEST_F(DownloadDispatch, FileUrlSucceedsThoughNoFileIsThere)
{
    EXPECT_EQ(Start(OpenInSource("file:///c:/a")), S_OK);

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {"c:/a"})));
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Traces(),
                ElementsAre("ZALVelmartFileDownloader::StartDownload - OpenInSource with sourceUrl: file:///c:/a\n",
                            "ZALVelmartFileDownloader::StartDownload - OpenInSource path: c:/a\n"));
}

TEST_F(DownloadDispatch, FileUrlIsDecoded)
{
    EXPECT_EQ(Start(OpenInSource("file:///srv/a%20b/%C3%A9crou.ZALPart")), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {"/srv/a b/écrou.ZALPart"})));
}

TEST_F(DownloadDispatch, FileUrlWithoutLocalPathStillSucceedsWithAnEmptyPath)
{
    EXPECT_EQ(Start(OpenInSource("file://elsewhere.example/a")), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {""})));
}

TEST_F(DownloadDispatch, FileUrlLongerThanThePathBufferGivesAnEmptyPath)
{
    EXPECT_EQ(Start(OpenInSource("file:///" + std::string(4095, 'a'))), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {""})));
}

TEST_F(DownloadDispatch, FileUrlThatFillsThePathBufferIsTakenWhole)
{
    const std::string path = "/" + std::string(4094, 'a');

    EXPECT_EQ(Start(OpenInSource("file://" + path)), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {path})));
}

TEST_F(DownloadDispatch, OpenInSourceWithoutSourceUrlFails)
{
    EXPECT_EQ(Start(R"({"attributes": {"catalog": {"configOpeningBehaviour": "openInSource"}},
                        "downloadUrl": "https://velmart.example/item.zip"})"),
              E_FAIL);

    EXPECT_THAT(Traces(), ElementsAre(MissingInfos));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(DownloadDispatch, SourceUrlOfAnotherTypeCountsAsMissing)
{
    EXPECT_EQ(
        Start(R"({"attributes": {"catalog": {"configOpeningBehaviour": "openInSource"}, "sourceUrl": ["file:///a"]}})"),
        E_FAIL);
    EXPECT_THAT(Traces(), ElementsAre(MissingInfos));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadDispatch, SourceUrlInsideCatalogIsNotLookedAt)
{
    EXPECT_EQ(
        Start(R"({"attributes": {"catalog": {"configOpeningBehaviour": "openInSource", "sourceUrl": "file:///a"}}})"),
        E_FAIL);
    EXPECT_THAT(Traces(), ElementsAre(MissingInfos));
}

TEST_F(DownloadDispatch, OpeningBehaviourMatchesWithoutRegardToLetterCase)
{
    EXPECT_EQ(Start(OpenInSource("file:///c:/a", "\"OPENINSOURCE\"")), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {"c:/a"})));
}

TEST_F(DownloadDispatch, OpenInSourceNotifiesInsideTheCall)
{
    bool returned = false;
    bool notifiedBefore = false;
    Receiver.OnReceipt = [&] { notifiedBefore = !returned; };

    Start(OpenInSource("file:///c:/a"));
    returned = true;

    EXPECT_TRUE(notifiedBefore);
}

TEST_F(DownloadDispatch, OpenInSourceComesBeforeTheBridge)
{
    const Listener listener;

    EXPECT_EQ(Start(OpenInSource("file:///c:/a")), S_OK);
    EXPECT_EQ(Receiver.Received.size(), 1U);
}

TEST_F(DownloadDispatch, OpenInSourceComesBeforeTheTemplateRoute)
{
    Probe.SetTemplateSupport(true);

    EXPECT_EQ(Start(OpenInSource("file:///c:/a")), S_OK);
    EXPECT_EQ(Receiver.Received.size(), 1U);
}

TEST_F(DownloadDispatch, OpenInSourceLeavesARunningTransferAlone)
{
    const auto& script = StartTransfer();

    EXPECT_EQ(Start(OpenInSource("file:///c:/a")), S_OK);

    EXPECT_TRUE(script.IsRunning());
    EXPECT_NE(Probe.HttpRequest(), nullptr);
}

TEST_F(DownloadDispatch, ReceiverMayStartTheNextDownloadInsideTheNotification)
{
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        EXPECT_EQ(Start(OpenInSource("file:///c:/b")), S_OK);
    };

    EXPECT_EQ(Start(OpenInSource("file:///c:/a")), S_OK);

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {"c:/a"}),
                                               WithFiles(Notification::DownloadSucceeded, {"c:/b"})));
}

// ---------------------------------------------------------------------------------------------
// Requests that fall through to the normal routes

class OtherBehaviour : public DownloadDispatch, public ::testing::WithParamInterface<NamedText> {};

TEST_P(OtherBehaviour, FallsThroughToThePlainRouteThoughASourceUrlIsThere)
{
    EXPECT_EQ(Start(OpenInSource("file:///c:/a", GetParam().text)), S_OK);

    EXPECT_THAT(Requested(), ElementsAre(Url));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Values, OtherBehaviour,
    ::testing::Values(NamedText{"LongerText", R"("openInSourceX")"}, NamedText{"ShorterText", R"("openInSourc")"},
                      NamedText{"EmptyText", R"("")"}, NamedText{"TextBehindABlank", R"(" openInSource")"},
                      NamedText{"Null", "null"}, NamedText{"Boolean", "true"}, NamedText{"Number", "1"},
                      NamedText{"List", R"(["openInSource"])"}, NamedText{"Map", R"({"openInSource": 1})"}));

class NoCatalog : public DownloadDispatch, public ::testing::WithParamInterface<NamedText> {};

TEST_P(NoCatalog, TakesThePlainRoute)
{
    EXPECT_EQ(Start(std::string(R"({"downloadUrl": "https://velmart.example/item.zip")") + GetParam().text + "}"),
              S_OK);
    EXPECT_THAT(Requested(), ElementsAre(Url));
}

INSTANTIATE_TEST_SUITE_P(Requests, NoCatalog,
                         ::testing::Values(NamedText{"NoAttributes", ""},
                                           NamedText{"NullAttributes", R"(, "attributes": null)"},
                                           NamedText{"TextAttributes", R"(, "attributes": "catalog")"},
                                           NamedText{"EmptyAttributes", R"(, "attributes": {})"},
                                           NamedText{"NullCatalog", R"(, "attributes": {"catalog": null})"},
                                           NamedText{"TextCatalog", R"(, "attributes": {"catalog": "openInSource"})"},
                                           NamedText{"EmptyCatalog", R"(, "attributes": {"catalog": {}})"}));

TEST_F(DownloadDispatch, RequestThatIsNoMapFails)
{
    EXPECT_EQ(Start("[1, 2]"), E_FAIL);
    EXPECT_EQ(Start("\"text\""), E_FAIL);
    EXPECT_EQ(Start("null"), E_FAIL);
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Choice between bridge, template and plain route

TEST_F(DownloadDispatch, WithABridgeListenerNothingIsFetchedHere)
{
    const Listener listener;

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
    EXPECT_EQ(Probe.HttpRequest(), nullptr);
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(DownloadDispatch, BridgeComesBeforeTheTemplateRoute)
{
    const Listener listener;
    Probe.SetTemplateSupport(true);
    SetSettings({}, false);

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty()) << "the template route would ask for the folder";
}

TEST_F(DownloadDispatch, ListenerForOtherNotificationsIsNoBridge)
{
    const Listener listener("ZALNotification");

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(Url));
}

TEST_F(DownloadDispatch, BridgeEndsWithItsListener)
{
    {
        const Listener listener;
        EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
        EXPECT_THAT(Requested(), IsEmpty());
    }
    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(Url));
}

TEST_F(DownloadDispatch, TemplateRouteAsksForTheFolderFirst)
{
    Probe.SetTemplateSupport(true);
    SetSettings({}, true);

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);

    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadDispatch, TemplateRouteWithAFolderDoesNotTakeThePlainRoute)
{
    Probe.SetTemplateSupport(true);

    Start(R"({"downloadUrl": "https://velmart.example/item.zip"})");

    EXPECT_EQ(Probe.HttpRequest(), nullptr);
    EXPECT_EQ(Probe.ProgressDlg(), nullptr);
}

TEST_F(DownloadDispatch, PlainRouteDoesNotAskForTheFolderBeforeTheTransfer)
{
    SetSettings({}, false);

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(Url));
}

TEST_F(DownloadDispatch, RequestWithoutAddressFailsWithoutNotification)
{
    EXPECT_EQ(Start(R"({"attributes": {"downloadUrls": {"OTHER": "https://velmart.example/x"}}, "id": 7})"), E_FAIL);

    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

TEST_F(DownloadDispatch, SecondDownloadFailsAndLeavesTheFirstOneAlone)
{
    ASSERT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/other.zip"})"), E_FAIL);

    EXPECT_THAT(Requested(), ElementsAre(Url));
    EXPECT_TRUE(Transport().Last().IsRunning());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadDispatch, SecondDownloadOverwritesTheKeptRequest)
{
    Start(R"({"downloadUrl": "https://velmart.example/item.zip"})");
    Start(R"({"downloadUrl": "https://velmart.example/other.zip"})");

    ZALUnicodeString url;
    EXPECT_EQ(GetDownloadURL(Probe.DownloadRequest(), url), S_OK);
    EXPECT_EQ(ToUtf8(url), "https://velmart.example/other.zip");
}

TEST_F(DownloadDispatch, RequestIsKeptThoughItFails)
{
    Start(OpenInSource("http://x"));

    ZALOmxAny attributes;
    EXPECT_EQ(Probe.DownloadRequest().MapGetValue("attributes", attributes), S_OK);
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

    EXPECT_EQ(result, GetParam().url ? S_OK : E_FAIL);
    EXPECT_EQ(ToUtf8(url), GetParam().url ? GetParam().url : "as before");
}

INSTANTIATE_TEST_SUITE_P(
    Requests, DownloadAddress,
    ::testing::Values(
        AddressCase{"RawBeforeAll",
                    R"({"download": "d", "downloadUrl": "u", "attributes": {"downloadUrls": {"ZALOR_RAW": "r"}}})",
                    "r"},
        AddressCase{"RawOfAnotherType", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"ZALOR_RAW": 1}}})",
                    "u"},
        AddressCase{"RawMissing", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"STEP": "s"}}})", "u"},
        AddressCase{"RawInAnotherLetterCase",
                    R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"zalor_raw": "r"}}})", "u"},
        AddressCase{"DownloadUrlsIsText", R"({"downloadUrl": "u", "attributes": {"downloadUrls": "r"}})", "u"},
        AddressCase{"RawAtTheTopLevel", R"({"download": "d", "downloadUrls": {"ZALOR_RAW": "r"}, "ZALOR_RAW": "r"})",
                    "d"},
        AddressCase{"EmptyRawIsAString", R"({"downloadUrl": "u", "attributes": {"downloadUrls": {"ZALOR_RAW": ""}}})",
                    ""},
        AddressCase{"DownloadUrlBeforeDownload", R"({"download": "d", "downloadUrl": "u"})", "u"},
        AddressCase{"DownloadUrlOfAnotherType", R"({"download": "d", "downloadUrl": null})", "d"},
        AddressCase{"DownloadAlone", R"({"download": "d"})", "d"},
        AddressCase{"DownloadOfAnotherType", R"({"download": {"url": "d"}})", nullptr},
        AddressCase{"AddressesInsideAttributes", R"({"attributes": {"downloadUrl": "u", "download": "d"}})", nullptr},
        AddressCase{"NoMap", R"(["downloadUrl"])", nullptr}));

// ---------------------------------------------------------------------------------------------
// Template support, settled once in the life of a process

constexpr const char* FirstVariable = "ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT";
constexpr const char* SwatchVariable = "ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT_SWATCH_ONLY";
constexpr int SupportOn = 10;
constexpr int SupportOff = 11;

/// Ends the process with what `steps` have made of the template support.
template <class Steps>
[[noreturn]] void ExitWithSupport(Steps steps)
{
    bool on = false;
    {
        ScriptedHost host;
        ZALVelmartFileDownloaderProbe probe;
        unsetenv(FirstVariable);
        unsetenv(SwatchVariable);
        steps(probe);
        on = ZALVelmartFileDownloaderProbe::TemplateSupport();
    }
    std::exit(on ? SupportOn : SupportOff);
}

/// Each test runs its steps in a fresh process.
class TemplateSupport : public ::testing::Test {
protected:
    TemplateSupport() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(TemplateSupport, IsOnWithTheSwatchVariableAlone)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) {
                    setenv(SwatchVariable, "1", 1);
                    probe.StartDefaultDownload({});
                }),
                ExitedWithCode(SupportOn), "");
}

TEST_F(TemplateSupport, IsOnWithTheFirstVariableAlone)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) {
                    setenv(FirstVariable, "1", 1);
                    probe.StartDefaultDownload({});
                }),
                ExitedWithCode(SupportOn), "");
}

TEST_F(TemplateSupport, IsOnWithAnEmptyVariable)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) {
                    setenv(FirstVariable, "", 1);
                    probe.StartDefaultDownload({});
                }),
                ExitedWithCode(SupportOn), "");
}

TEST_F(TemplateSupport, IsOffWithoutTheVariables)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) { probe.StartDefaultDownload({}); }), ExitedWithCode(SupportOff), "");
}

TEST_F(TemplateSupport, StaysOffWhenAVariableComesAfterTheFirstDownload)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) {
                    probe.StartDefaultDownload({});
                    setenv(FirstVariable, "1", 1);
                    setenv(SwatchVariable, "1", 1);
                    probe.StartDefaultDownload({});
                }),
                ExitedWithCode(SupportOff), "");
}

TEST_F(TemplateSupport, StaysOnWhenTheVariableGoesAfterTheFirstDownload)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) {
                    setenv(FirstVariable, "1", 1);
                    probe.StartDefaultDownload({});
                    unsetenv(FirstVariable);
                    probe.StartDefaultDownload({});
                }),
                ExitedWithCode(SupportOn), "");
}

TEST_F(TemplateSupport, IsNotSettledByOpenInSource)
{
    EXPECT_EXIT(ExitWithSupport([](auto& probe) {
                    probe.Downloader().StartDownload(Json(OpenInSource("file:///c:/a")));
                    setenv(SwatchVariable, "1", 1);
                    probe.StartDefaultDownload({});
                }),
                ExitedWithCode(SupportOn), "");
}

// ---------------------------------------------------------------------------------------------
// The singleton and its class

TEST_F(DownloadDispatch, InstanceIsAlwaysTheSameOne)
{
    ZALVelmartFileDownloader* instance = ZALVelmartFileDownloader::GetInstance();

    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(ZALVelmartFileDownloader::GetInstance(), instance);
    EXPECT_EQ(instance->AddRef(), 2U) << "no reference is added";
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
    EXPECT_STREQ(Downloader().GetName().CastToCharPtr(), "ZALVelmartFileDownloader");
    EXPECT_EQ(Downloader().GetMode(), 3);
}

TEST_F(DownloadDispatch, IsRecordedUnderItsNameAndModule)
{
    ZALMetaClass* record = ZALVelmartFileDownloader::MetaObject();

    EXPECT_STREQ(record->GetName(), "ZALVelmartFileDownloader");
    EXPECT_STREQ(record->GetModule(), "ZALVelmartIntegration");
    EXPECT_EQ(record->GetBase(), ZALCommand::MetaObject());
    EXPECT_EQ(Downloader().GetMetaObject(), record);
    EXPECT_STREQ(Downloader().IsA(), "ZALVelmartFileDownloader");
    EXPECT_STREQ(ZALVelmartFileDownloader::ClassId(), "ZALVelmartFileDownloader");
    EXPECT_EQ(Downloader().IsAKindOf("ZALCommand"), 1);
    EXPECT_EQ(ZALVelmartFileDownloader::CreateItself(), nullptr);
}

TEST_F(DownloadDispatch, TemplateAddressesAreKept)
{
    EXPECT_EQ(Downloader().SetTemplatesURLs(Json(R"({"part": "https://velmart.example/t"})")), S_OK);

    ZALOmxAny part;
    ZALUnicodeString url;
    ASSERT_EQ(Probe.TemplatesURLs().MapGetValue("part", part), S_OK);
    EXPECT_EQ(part.GetString(url), S_OK);
    EXPECT_EQ(ToUtf8(url), "https://velmart.example/t");

    EXPECT_EQ(Downloader().SetTemplatesURLs(Json("[]")), S_OK);
    EXPECT_EQ(Probe.TemplatesURLs().GetKind() & ZALOmxKindMask, ZALOmxKindList);
}

TEST_F(DownloadDispatch, EndOfTheDownloaderReleasesTheMultiFileDownload)
{
    auto* download = new ZALVLIFullDownload({});
    const ZALBaseUnknown_WR reference(download);
    Probe.SetFullDownload(download);

    Probe.EndDownloader();

    EXPECT_EQ(reference.GetComponent(), nullptr);
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
