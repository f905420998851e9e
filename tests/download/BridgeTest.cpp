// Messages with another component of the host, which takes downloads over.

#include "openhost/objects/Traces.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/panel.h"
#include "objects/Hold.h"

#include <array>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

/// How often a parser was told to keep integers and floating numbers apart.
int activations = 0;
/// The parser that was told so last and has not parsed since.
const ZALOmxJson* activated = nullptr;
/// Whether the parser that parsed last had been told so before.
bool wasActivated = false;

} // namespace

// Take the place of the host's own operations in this program.

void ZALOmxJson::ActivateConsistentDoubleUnstream()
{
    ++activations;
    activated = this;
}

HRESULT ZALOmxJson::parse(const ZALOmxUTF8String& text, ZALOmxAny& value)
{
    wasActivated = activated == this;
    activated = nullptr;
    using Operation = HRESULT(ZALOmxJson*, const ZALOmxUTF8String&, ZALOmxAny&);
    static auto* const parse =
        reinterpret_cast<Operation*>(dlsym(RTLD_NEXT, "_ZN10ZALOmxJson5parseERK16ZALOmxUTF8StringR9ZALOmxAny"));
    return parse(this, text, value);
}

namespace openhost::testing {
namespace {

using nlohmann::ordered_json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* SentRequest = "ZALVelmartFileDownloader : Send downloadQ7FilesFromTolva request\n";
constexpr const char* ReceivedRequest = "ZALVelmartFileDownloader : Received downloadFilesFromVL request\n";
constexpr const char* ReceivedError = "ZALVelmartFileDownloader : Received downloadQ7FilesFromTolva error response\n";
constexpr const char* ReceivedSuccess =
    "ZALVelmartFileDownloader : Received downloadQ7FilesFromTolva success response\n";
constexpr const char* SentFiles = "ZALVelmartFileDownloader : Send downloadFilesFromVL response\n";
constexpr const char* SentCancel = "ZALVelmartFileDownloader : Send downloadFilesFromVL cancel response\n";
constexpr const char* SentError = "ZALVelmartFileDownloader : Send downloadFilesFromVL error response\n";

/// A failure with a text for the user.
Completion FailedWith(const std::string& error)
{
    return {Notification::DownloadFailed, {}, "", error, {}};
}

class Bridge : public DownloadFixture {
protected:
    Bridge()
    {
        Component.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                            ZALDlgHtmlViewJavaScriptNotification::ClassName());
    }

    /// The component sends `text`.
    static void Send(const std::string& text)
    {
        ZALDlgHtmlViewJavaScriptNotification message("", text.data(), text.size());
        DispatchCallbacks(ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber(), &message);
    }
    /// The module hands a download over, and nothing more is said.
    void HandOver(const std::string& request = R"({"downloadUrl": "https://velmart.example/item.zip", "id": 5})")
    {
        EXPECT_EQ(Start(request), S_OK);
        Messages.clear();
    }
    /// The component asks for the files of `urls`, a map in JSON, below the user's folder.
    void AskFor(const std::string& urls, const std::string& id = "7")
    {
        Send(R"({"method": "downloadFilesFromVL", "id": )" + id + R"(, "params": {"downloadUrls": )" + urls +
             R"(, "downloadDestPath": ")" + Parts().string() + R"("}})");
    }
    void ServePart(const std::string& name)
    {
        Transport().Answer("https://velmart.example/" + name,
                           {.headers = {{"content-type", "application/octet-stream"},
                                        {"content-disposition", "attachment; filename=x.ZALPart"}},
                            .chunks = {name}});
    }
    std::vector<std::string> Requested()
    {
        std::vector<std::string> urls;
        for (const HttpRequestData& request : Transport().Requests())
            urls.push_back(request.url);
        return urls;
    }

    std::vector<std::string> Messages;                         ///< what the component was told
    std::function<void(const std::string& message)> OnMessage; ///< called behind each message
    Listener Component{[this](ZALBaseUnknown*, ZALNotification* notification, void*) {
        const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
        const std::string text(message->GetData(), message->GetDataLength());
        Messages.push_back(text);
        if (OnMessage)
            OnMessage(text);
    }};
};

// ---------------------------------------------------------------------------------------------
// The request for files

TEST_F(Bridge, RequestHasTheAttributesAndTheIdentifierOfTheItem)
{
    EXPECT_EQ(Start(R"({"id": "item-5", "name": "left away",
                        "attributes": {"z": 1, "a": {"b": [1.5, "ä", null, true]}, "downloadUrls": {}}})"),
              S_OK);

    EXPECT_THAT(Messages, ElementsAre(R"({"method":"downloadQ7FilesFromTolva","id":1,"params":)"
                                      R"({"z":1,"a":{"b":[1.5,"ä",null,true]},"downloadUrls":{},"id":"item-5"}})"));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(Bridge, RequestOfABareItemHasANullIdentifierOnly)
{
    for (const char* request : {"{}", R"({"attributes": {}})", R"({"attributes": [1]})", R"({"attributes": "x"})"})
        EXPECT_EQ(Start(request), S_OK);
    EXPECT_THAT(Messages, ::testing::Each(R"({"method":"downloadQ7FilesFromTolva","id":1,"params":{"id":null}})"));
    EXPECT_THAT(Messages, SizeIs(4));
}

TEST_F(Bridge, RequestHasBothIdentifiersWhenTheAttributesHaveOne)
{
    Start(R"({"id": {"number": 5}, "attributes": {"id": 4, "a": 1}})");
    EXPECT_THAT(Messages, ElementsAre(R"({"method":"downloadQ7FilesFromTolva","id":1,)"
                                      R"("params":{"id":4,"a":1,"id":{"number":5}}})"));
}

TEST_F(Bridge, RequestEscapesWhatItCarries)
{
    Start(R"({"attributes": {"a\"b": "c\"\\\n\u0000"}})");
    ASSERT_THAT(Messages, SizeIs(1));
    EXPECT_EQ(ordered_json::parse(Messages[0])["params"]["a\"b"], std::string("c\"\\\n\0", 5));
}

TEST_F(Bridge, SecondRequestGoesOutUnderTheSameIdentifier)
{
    Start("{}");
    Start(R"({"id": 2})");
    EXPECT_THAT(Messages, ElementsAre(R"({"method":"downloadQ7FilesFromTolva","id":1,"params":{"id":null}})",
                                      R"({"method":"downloadQ7FilesFromTolva","id":1,"params":{"id":2}})"));
}

TEST_F(Bridge, MessagesReachTheModuleFromTheFirstRequestOn)
{
    Send("no JSON");
    EXPECT_THAT(Receiver.Received, IsEmpty());

    HandOver();
    Send("no JSON");
    EXPECT_THAT(Receiver.Received, SizeIs(1));

    Send("no JSON");
    EXPECT_THAT(Receiver.Received, SizeIs(2)) << "also behind the end of the download";
}

TEST_F(Bridge, MessageIsParsedWithIntegersKeptApartFromFloatingNumbers)
{
    HandOver();
    for (const char* message : {"no JSON", R"({"id": 1.0})", R"({"method": ""})"}) {
        activations = 0;
        Send(message);
        EXPECT_EQ(activations, 1) << message;
        EXPECT_TRUE(wasActivated) << message;
    }
}

// ---------------------------------------------------------------------------------------------
// The reply that ends the download

TEST_F(Bridge, SuccessDeliversThePathsInTheirOrder)
{
    HandOver();
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/p/part.ZALPart", "/p/Écrou.ZALProduct", ""]}})");

    EXPECT_THAT(Receiver.Received,
                ElementsAre(Completion{
                    Notification::DownloadSucceeded, {"/p/part.ZALPart", "/p/Écrou.ZALProduct", ""}, "UT5", "", {}}));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedSuccess));
    EXPECT_THAT(Documents().Calls(), IsEmpty()) << "no root is looked for";
    EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Bridge, SuccessNamesTheDocumentEnvironment)
{
    HandOver();
    for (const char* environment : {R"("File")", R"("")", "5", "null", R"(["File"])"})
        Send(std::string(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"], "docEnvId": )") + environment +
             "}}");

    std::vector<std::string> environments;
    for (const Completion& completion : Receiver.Received)
        environments.push_back(completion.environment);
    EXPECT_THAT(environments, ElementsAre("File", "", "UT5", "UT5", "UT5"));
}

class RefusedReply : public Bridge, public ::testing::WithParamInterface<NamedText> {};

TEST_P(RefusedReply, FailsWithAnEmptyText)
{
    HandOver();
    Send(GetParam().text);

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    NoMessages, RefusedReply,
    ::testing::Values(NamedText{"Nothing", ""}, NamedText{"NoJson", "nonsense"},
                      NamedText{"HalfAMessage", R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]})"},
                      NamedText{"TwoMessages", R"({"id": 1} {"id": 1})"},
                      NamedText{"NoUtf8", "{\"id\": 1, \"\xFF\": 1}"},
                      NamedText{"AZeroCharacter", std::string("{\"id\": 1}\0", 10)},
                      NamedText{"TooDeep", std::string(300, '[') + std::string(300, ']')}, NamedText{"Number", "1"},
                      NamedText{"Null", "null"}, NamedText{"List", R"([{"id": 1}])"}, NamedText{"EmptyMap", "{}"}));

INSTANTIATE_TEST_SUITE_P(
    OtherIdentifiers, RefusedReply,
    ::testing::Values(NamedText{"Missing", R"({"result": {"downloadedQ7FilesPathes": ["/a"]}})"},
                      NamedText{"Two", R"({"id": 2, "result": {"downloadedQ7FilesPathes": ["/a"]}})"},
                      NamedText{"Float", R"({"id": 1.0, "result": {"downloadedQ7FilesPathes": ["/a"]}})"},
                      NamedText{"Text", R"({"id": "1", "result": {"downloadedQ7FilesPathes": ["/a"]}})"},
                      NamedText{"OneIn32Bits", R"({"id": 4294967297, "result": {"downloadedQ7FilesPathes": ["/a"]}})"},
                      NamedText{"MethodOfAnotherType",
                                R"({"id": 2, "method": 5, "params": {"downloadUrls": {"a": "b"}}})"}));

INSTANTIATE_TEST_SUITE_P(
    Results, RefusedReply,
    ::testing::Values(NamedText{"NeitherErrorNorResult", R"({"id": 1})"},
                      NamedText{"MethodOfAnotherType", R"({"id": 1, "method": ["downloadFilesFromVL"]})"},
                      NamedText{"WithoutPaths", R"({"id": 1, "result": {}})"},
                      NamedText{"Null", R"({"id": 1, "result": null})"},
                      NamedText{"Text", R"({"id": 1, "result": "/a"})"},
                      NamedText{"EmptyList", R"({"id": 1, "result": {"downloadedQ7FilesPathes": []}})"},
                      NamedText{"PathsAsText", R"({"id": 1, "result": {"downloadedQ7FilesPathes": "/a"}})"},
                      NamedText{"PathsAsMap", R"({"id": 1, "result": {"downloadedQ7FilesPathes": {"a": "/a"}}})"},
                      NamedText{"ANumberAmongTheTexts",
                                R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a", "/b", 3]}})"},
                      NamedText{"ANullInFront", R"({"id": 1, "result": {"downloadedQ7FilesPathes": [null, "/a"]}})"}));

INSTANTIATE_TEST_SUITE_P(
    Errors, RefusedReply,
    ::testing::Values(
        NamedText{"Empty", R"({"id": 1, "error": {}})"}, NamedText{"Null", R"({"id": 1, "error": null})"},
        NamedText{"Text", R"({"id": 1, "error": "broken"})"},
        NamedText{"NullBesideAResult", R"({"id": 1, "error": null, "result": {"downloadedQ7FilesPathes": ["/a"]}})"},
        NamedText{"CodeAsText", R"({"id": 1, "error": {"code": "5", "message": "broken"}})"},
        NamedText{"CodeAsFloat", R"({"id": 1, "error": {"code": -1697450280.0, "message": "broken"}})"},
        NamedText{"WithoutMessage", R"({"id": 1, "error": {"code": 5}})"},
        NamedText{"MessageOfAnotherType", R"({"id": 1, "error": {"code": 5, "message": {"en": "broken"}}})"}));

TEST_F(Bridge, ErrorTellsItsMessage)
{
    HandOver();
    Send(R"({"id": 1, "error": {"code": 5, "message": "Kein Zugriff auf \"Ä\""}})");

    EXPECT_THAT(Receiver.Received, ElementsAre(FailedWith("Kein Zugriff auf \"Ä\"")));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedError));
}

TEST_F(Bridge, ErrorWinsOverAResult)
{
    HandOver();
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}, "error": {"code": 0, "message": "no"}})");
    EXPECT_THAT(Receiver.Received, ElementsAre(FailedWith("no")));
}

TEST_F(Bridge, SecondReplyNotifiesOnceMore)
{
    HandOver();
    for (int time = 0; time < 2; ++time)
        Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})");
    EXPECT_THAT(Receiver.Received, SizeIs(2));
}

TEST_F(Bridge, ReplyInsideTheRequestEndsTheDownloadBeforeItReturns)
{
    OnMessage = [](const std::string&) { Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})"); };
    bool notified = false;
    Receiver.OnReceipt = [&] { notified = true; };

    EXPECT_EQ(Start("{}"), S_OK);
    EXPECT_TRUE(notified);
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedSuccess));
}

TEST_F(Bridge, ReceiverMayHandTheNextDownloadOverInsideTheNotification)
{
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        Start(R"({"id": "next"})");
    };
    HandOver();
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})");
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/b"]}})");

    EXPECT_THAT(Messages, SizeIs(1));
    EXPECT_THAT(Receiver.Received, SizeIs(2));
}

// ---------------------------------------------------------------------------------------------
// Fall-back

constexpr const char* FallBack = R"({"id": 1, "error": {"code": -1697450280, "message": "yours"}})";

TEST_F(Bridge, FallBackRunsThePlainRouteWithTheKeptRequest)
{
    HandOver(R"({"downloadUrl": "https://velmart.example/item.zip"})");
    Transport().Answer(Url, {.chunks = {ZipBytes().Add("a.ZALPart", "part").Bytes()}});

    Send(FallBack);
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), ElementsAre(Url));

    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
    EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Bridge, FallBackRunsTheTemplateRouteWhereThatIsOn)
{
    Probe.SetTemplateSupport(true);
    SetSettings({}, false);
    HandOver();
    Send(FallBack);

    EXPECT_NE(Surface().Find("ZALVelmartDownloadLocationDlg"), nullptr) << "which asks for the folder first";
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(Bridge, FallBackWithoutAnAddressEndsInSilence)
{
    HandOver("{}");
    Send(FallBack);
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(Bridge, FallBackWhileATransferRunsEndsInSilence)
{
    const auto& script = StartTransfer();
    HandOver();
    Send(FallBack);

    EXPECT_TRUE(script.IsRunning());
    EXPECT_THAT(Requested(), SizeIs(1));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(Bridge, FallBackTakesTheRequestThatWasHandedOverLast)
{
    HandOver(R"({"downloadUrl": "https://velmart.example/first"})");
    HandOver(R"({"downloadUrl": "https://velmart.example/second"})");
    Send(FallBack);
    EXPECT_THAT(Requested(), ElementsAre("https://velmart.example/second"));
}

// ---------------------------------------------------------------------------------------------
// Requests of the component

TEST_F(Bridge, FetchesWhatTheComponentAsksForAndRepliesWithThePathsByKey)
{
    ServePart("b");
    Transport().Answer("https://velmart.example/a", {.chunks = {ZipBytes().Add("c.ZALPart").Add("d.ZALPart").Bytes()}});
    HandOver();
    AskFor(R"({"Bolt": "https://velmart.example/b", "All": "https://velmart.example/a"})");
    EXPECT_THAT(Messages, IsEmpty());
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages,
                ElementsAre(R"({"id":7,"result":{"downloadedFilesPathes":{"Bolt":[")" + InParts("Bolt.ZALPart") +
                            R"("],"All":[")" + InParts("c.ZALPart") + R"(",")" + InParts("d.ZALPart") + R"("]}}})"));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("Bolt.ZALPart", "c.ZALPart", "d.ZALPart"));
    EXPECT_THAT(Receiver.Received, IsEmpty()) << "the reply to the first request ends the download";
    EXPECT_THAT(Traces(),
                ElementsAre(SentRequest, ReceivedRequest, "Downloaded raw file : " + InParts("Bolt.ZALPart") + "\n",
                            "ZALVelmartFileDownloader::ExtractedFiles :" + InParts("c.ZALPart") + "\n",
                            "ZALVelmartFileDownloader::ExtractedFiles :" + InParts("d.ZALPart") + "\n", SentFiles));
}

TEST_F(Bridge, ReplyOfAnEmptyItemHasAnEmptyList)
{
    Transport().Answer("https://velmart.example/a", {.chunks = {"no archive"}});
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})");
    Loop().RunUntilIdle();
    EXPECT_THAT(Messages, ElementsAre(R"({"id":7,"result":{"downloadedFilesPathes":{"A":[]}}})"));
}

TEST_F(Bridge, FetchesIntoTheTemporaryFolderWithoutAUsableOne)
{
    ServePart("a");
    HandOver();
    for (const char* folder : {"", R"(, "downloadDestPath": 5)", R"(, "downloadDestPath": null)"}) {
        Send(R"({"method": "downloadFilesFromVL", "id": 2, "params": {"downloadUrls":
                 {"A": "https://velmart.example/a"})" +
             std::string(folder) + "}}");
        Loop().RunUntilIdle();
        EXPECT_EQ(ReadFile(Temp() / "A.ZALPart"), "a");
        std::filesystem::remove(Temp() / "A.ZALPart");
    }
    EXPECT_THAT(Messages, SizeIs(3));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(Bridge, RepliesUnderTheIdentifierThatTheComponentChose)
{
    const std::vector<std::pair<std::string, std::string>> identifiers = {
        {"0", "0"},    {"1", "1"},      {"-5", "-5"},   {"9007199254740993", "9007199254740993"},
        {"2.0", "-1"}, {"\"7\"", "-1"}, {"null", "-1"}, {"[3]", "-1"}};
    HandOver();
    for (const auto& [given, replied] : identifiers) {
        Messages.clear();
        AskFor("{}", given);
        EXPECT_THAT(
            Messages,
            ElementsAre("{ \"error\" : {\"code\": -20, \"message\" : \"Download Failed\"}, \"id\" : " + replied + "}"))
            << given;
    }
    Messages.clear();
    Send(R"({"method": "downloadFilesFromVL"})");
    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -20, "message" : "Download Failed"}, "id" : -1})"));
}

class RequestWithoutUrls : public Bridge, public ::testing::WithParamInterface<NamedText> {};

TEST_P(RequestWithoutUrls, IsAnsweredAsFailed)
{
    HandOver();
    Send(GetParam().text);

    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -20, "message" : "Download Failed"}, "id" : 3})"));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedRequest, SentError));
}

INSTANTIATE_TEST_SUITE_P(
    Requests, RequestWithoutUrls,
    ::testing::Values(
        NamedText{"WithoutParameters", R"({"method": "downloadFilesFromVL", "id": 3})"},
        NamedText{"ParametersAsList", R"({"method": "downloadFilesFromVL", "id": 3, "params": ["a"]})"},
        NamedText{"WithoutUrls", R"({"method": "downloadFilesFromVL", "id": 3, "params": {}})"},
        NamedText{"EmptyUrls", R"({"method": "downloadFilesFromVL", "id": 3, "params": {"downloadUrls": {}}})"},
        NamedText{"UrlsAsList",
                  R"({"method": "downloadFilesFromVL", "id": 3, "params": {"downloadUrls": ["https://a/"]}})"},
        NamedText{"UrlsAsText",
                  R"({"method": "downloadFilesFromVL", "id": 3, "params": {"downloadUrls": "https://a/"}})"}));

TEST_F(Bridge, AddressOfAnyTypeIsTakenAsText)
{
    HandOver();
    for (const char* address : {"5", "1.5", "true", "null", R"(["a"])", R"({"a":1})", R"("a b")"})
        AskFor(R"({"A": )" + std::string(address) + "}");
    EXPECT_THAT(Requested(), ElementsAre("5", "1.5", "true", "null", R"(["a"])", R"({"a":1})", "a b"));
}

TEST_F(Bridge, FirstAddressThatCannotBeSentIsAnsweredAtOnce)
{
    Transport().RefuseNext();
    HandOver();
    AskFor(R"({"A": "ftp://velmart.example/a"})");
    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -20, "message" : "Download Failed"}, "id" : 7})"));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(Bridge, LaterAddressThatCannotBeSentIsNeverAnswered)
{
    ServePart("a");
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a", "B": "ftp://velmart.example/b"})");
    Transport().RefuseNext();
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
    EXPECT_NE(Surface().Find(ProgressWindow), nullptr);
}

TEST_F(Bridge, FailedTransferIsAnsweredAsFailedAndTheDownloadGoesOn)
{
    ServePart("a");
    Transport().Answer("https://velmart.example/b", {.code = std::nullopt, .end = TransferEnd::Failed});
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a", "B": "https://velmart.example/b"})");
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -20, "message" : "Download Failed"}, "id" : 7})"));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));

    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})");
    EXPECT_THAT(Receiver.Received, SizeIs(1));
}

TEST_F(Bridge, CancelledTransferIsAnsweredAsCancelled)
{
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})");
    Transport().Last().End(TransferEnd::Cancelled);

    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -10, "message" : "Download Canceled"}, "id" : 7})"));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedRequest, SentCancel));
}

TEST_F(Bridge, MessagesOfTheCatalogGoInAsTheyStand)
{
    const std::filesystem::path folder = Folder() / "installation/resources/msgcatalog";
    WriteFile(folder / "ZALVelmartFileDownloader.ZALNls",
              "DownloadCanceled = \"Übertragung \\\"ab\\\"\";\nDownloadFailed = \"a\\\\b\";\n");
    HandOver();
    AskFor("{}");
    AskFor(R"({"A": "https://velmart.example/a"})");
    Transport().Last().End(TransferEnd::Cancelled);

    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -20, "message" : "a\b"}, "id" : 7})",
                                      R"({ "error" : {"code": -10, "message" : "Übertragung "ab""}, "id" : 7})"));
}

TEST_F(Bridge, UnknownMethodIsAnsweredAndEndsNothing)
{
    HandOver();
    Send(R"({"method": "downloadEverything", "id": 4})");
    Send(R"({"method": "", "id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})");
    Send(R"({"method": "DownloadFilesFromVL"})");
    Send(R"({"method": "downloadFilesFromVL ", "id": 1.5})");

    EXPECT_THAT(Messages, ElementsAre(R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : 4})",
                                      R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : 1})",
                                      R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : -1})",
                                      R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : -1})"));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre(SentRequest));
}

TEST_F(Bridge, NextRequestGivesARunningTransferUpWithoutAReply)
{
    ServePart("b");
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})", "7");
    const auto& first = Transport().Last();
    AskFor(R"({"B": "https://velmart.example/b"})", "8");
    EXPECT_FALSE(first.IsRunning());
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, ElementsAre(R"({"id":8,"result":{"downloadedFilesPathes":{"B":[")" + InParts("B.ZALPart") +
                                      R"("]}}})"));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("B.ZALPart"));
    EXPECT_NE(Surface().Find(ProgressWindow), nullptr) << "the dialog of the first stays with the host";
}

TEST_F(Bridge, ComponentMayAskAnewInsideAReply)
{
    ServePart("a");
    ServePart("b");
    HandOver();
    OnMessage = [this](const std::string&) {
        OnMessage = {};
        AskFor(R"({"B": "https://velmart.example/b"})", "8");
    };
    AskFor(R"({"A": "https://velmart.example/a"})", "7");
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, SizeIs(2));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart", "B.ZALPart"));
}

TEST_F(Bridge, ComponentMayAskAnewInsideAReplyThatComesInsideItsRequest)
{
    ServePart("b");
    HandOver();
    int failures = 0;
    OnMessage = [&](const std::string&) {
        if (++failures < 5)
            AskFor("{}", std::to_string(failures));
        else if (failures == 5)
            AskFor(R"({"B": "https://velmart.example/b"})", "8");
    };
    AskFor("{}", "0");
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, SizeIs(6));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("B.ZALPart"));
}

TEST_F(Bridge, RequestInsideAReplyThatComesInsideARequestIsTheOneThatRuns)
{
    HandOver();
    OnMessage = [this](const std::string&) {
        OnMessage = {};
        AskFor(R"({"B": "https://velmart.example/b"})", "8");
    };
    AskFor("{}", "0");
    const auto& inner = Transport().Last();
    EXPECT_TRUE(inner.IsRunning());

    AskFor(R"({"C": "https://velmart.example/c"})", "9");
    EXPECT_FALSE(inner.IsRunning()) << "it gives way to the next one";
    EXPECT_TRUE(Transport().Last().IsRunning());
}

TEST_F(Bridge, ComponentMayEndTheDownloadInsideAReply)
{
    ServePart("a");
    HandOver();
    OnMessage = [](const std::string& message) {
        const ordered_json paths = ordered_json::parse(message)["result"]["downloadedFilesPathes"]["A"];
        Send(ordered_json{{"id", 1}, {"result", {{"downloadedQ7FilesPathes", paths}}}}.dump());
    };
    AskFor(R"({"A": "https://velmart.example/a"})");
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(Completion{Notification::DownloadSucceeded, {InParts("A.ZALPart")}, "UT5", "", {}}));
    EXPECT_THAT(Traces(),
                ElementsAre(SentRequest, ReceivedRequest, "Downloaded raw file : " + InParts("A.ZALPart") + "\n",
                            SentFiles, ReceivedSuccess));
}

TEST_F(Bridge, ComponentMayLeaveTheDownloadToTheModuleInsideAReply)
{
    HandOver();
    OnMessage = [](const std::string&) { Send(FallBack); };
    AskFor("{}");
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedRequest, SentError, ReceivedError,
                                      "ZALVelmartFileDownloader::DownloadURL: " + std::string(Url) + "\n"));
    EXPECT_THAT(Requested(), ElementsAre(Url));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(Bridge, ReplyDuringATransferEndsTheDownloadAndTheTransferGoesOn)
{
    ServePart("a");
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})");
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/b"]}})");
    EXPECT_THAT(Receiver.Received, SizeIs(1));
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, SizeIs(1));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
    EXPECT_THAT(Receiver.Received, SizeIs(1));
}

TEST_F(Bridge, EndOfTheComponentLosesTheReplyAlone)
{
    ServePart("a");
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})");
    Component.RemoveSubscriberCallbacks(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance());
    Loop().RunUntilIdle();

    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
}

TEST_F(Bridge, EndOfTheDownloaderGivesItsTransferUp)
{
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})");
    Probe.EndDownloader();
    Loop().RunUntilIdle();

    EXPECT_FALSE(Transport().Last().IsRunning());
    EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Bridge, EmptyFolderIsTakenAsItStands)
{
    std::filesystem::create_directory(Folder() / "current");
    std::filesystem::current_path(Folder() / "current");
    ServePart("a");
    HandOver();
    Send(R"({"method": "downloadFilesFromVL", "id": 2, "params": {"downloadUrls": {"A": "https://velmart.example/a"},
             "downloadDestPath": ""}})");
    Loop().RunUntilIdle();
    std::filesystem::current_path(Folder());

    ASSERT_THAT(Messages, SizeIs(1));
    const ordered_json path = ordered_json::parse(Messages[0])["result"]["downloadedFilesPathes"]["A"][0];
    EXPECT_EQ(std::filesystem::path(path.get<std::string>()).filename(), "A.ZALPart");
    EXPECT_FALSE(std::filesystem::exists(Temp() / "A.ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Traces

TEST_F(Bridge, RequestIsTracedBeforeItGoesOut)
{
    OnMessage = [this](const std::string&) { EXPECT_THAT(Traces(), ElementsAre(SentRequest)); };
    Start("{}");
    EXPECT_THAT(Messages, SizeIs(1));
}

TEST_F(Bridge, ReplyIsTracedBeforeItsEndIsTold)
{
    HandOver();
    std::vector<std::string> last;
    Receiver.OnReceipt = [&] { last.push_back(Traces().back()); };
    Send(R"({"id": 1, "error": {"code": 5, "message": "broken"}})");
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})");
    Send(R"({"id": 1, "error": "no map"})");
    Send(R"({"id": 1, "result": "no map"})");
    EXPECT_THAT(last, ElementsAre(ReceivedError, ReceivedSuccess, ReceivedError, ReceivedSuccess));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedError, ReceivedSuccess, ReceivedError, ReceivedSuccess));
}

TEST_F(Bridge, MessageThatIsNoReplyIsNotTraced)
{
    HandOver();
    for (const char* message : {R"({"id": 2, "error": {"code": 5}})", R"({"id": 2, "result": {}})", R"({"id": 1})",
                                "nonsense", R"({"error": {"code": 5}})"})
        Send(message);
    EXPECT_THAT(Receiver.Received, SizeIs(5));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest));
}

TEST_F(Bridge, AnswerIsTracedBeforeItGoesOut)
{
    HandOver();
    std::vector<std::string> last;
    OnMessage = [&](const std::string&) { last.push_back(Traces().back()); };
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed, TransferEnd::Cancelled}) {
        AskFor(R"({"A": "https://velmart.example/a"})");
        Transport().Last().End(end);
    }
    EXPECT_THAT(last, ElementsAre(SentFiles, SentError, SentCancel));
}

// ---------------------------------------------------------------------------------------------
// Life

TEST_F(Bridge, RequestReplacesTheEarlierFunctionOfTheMessages)
{
    int calls = 0;
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> watch = held;
    ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber()->SetMessageFunction(
        [&calls, held](const ZALOmxUTF8String&) { ++calls; });
    held.reset();
    HandOver();
    EXPECT_TRUE(watch.expired());
    Send("no JSON");
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(Receiver.Received, SizeIs(1));
}

TEST_F(Bridge, MessageAfterTheEndOfTheDownloaderIsDropped)
{
    HandOver();
    const ZALBaseUnknown_WR downloader(&Downloader());
    Probe.EndDownloader();
    EXPECT_EQ(downloader.GetComponent(), nullptr) << "the function does not keep it";
    for (const char* message : {"no JSON", R"({"method": "other", "id": 4})", R"({"method": "downloadFilesFromVL"})"})
        Send(message);
    EXPECT_EQ(CountOf("ZALVelmartFileDownloadCompleteNotification"), 0);
    EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Bridge, FilesAfterTheEndOfTheDownloaderAreNotAnswered)
{
    HandOver();
    AskFor(R"({"A": "https://velmart.example/a"})");
    const auto download = Hold(Probe.FullDownload());
    Probe.EndDownloader();
    Transport().Last().End();
    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_FALSE(Traced("ZALVelmartFileDownloader : Send downloadFilesFromVL response"));
}

TEST_F(Bridge, DownloaderMayEndInsideTheNotificationOfAMessage)
{
    HandOver();
    const ZALBaseUnknown_WR downloader(&Downloader());
    bool isHeld = false;
    Receiver.OnReceipt = [&] {
        Probe.EndDownloader();
        isHeld = static_cast<bool>(Owned<ZALBaseUnknown>(downloader.GetComponent()));
    };
    Send("no JSON");
    EXPECT_TRUE(isHeld);
    EXPECT_EQ(downloader.GetComponent(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Without memory

/// A component that needs no memory: counts what it is told by the beginning of the text.
class BridgeWithoutMemory : public Bridge {
protected:
    class Counter : public ZALEventSubscriber {
    public:
        Counter()
        {
            AddCallback(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                        ZALDlgHtmlViewJavaScriptNotification::ClassName(), &Counter::OnMessage, nullptr);
        }
        std::array<std::string, 2> known; ///< texts, whole
        std::array<int, 2> told{};        ///< how often each of them came
        int others = 0;

    private:
        void OnMessage(ZALBaseUnknown*, ZALNotification* notification, void*)
        {
            const auto* message = static_cast<const ZALDlgHtmlViewJavaScriptNotification*>(notification);
            const std::string_view text(message->GetData(), message->GetDataLength());
            for (std::size_t index = 0; index < known.size(); ++index)
                if (text == known[index]) {
                    ++told[index];
                    return;
                }
            ++others;
        }
    };

    BridgeWithoutMemory()
    {
        Component.RemoveSubscriberCallbacks(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance());
        Receiver.RemoveSubscriberCallbacks(&Downloader());
        SwitchTraces(false); // the lack of a trace fails nothing
    }
    static constexpr const char* FailedReply = R"({ "error" : {"code": -20, "message" : "Download Failed"}, "id" : 7})";
};

TEST_F(BridgeWithoutMemory, RequestGoesOutWholeOrTheDownloadFails)
{
    const ZALOmxAny request = Json(
        R"({"id": "a long identifier of the item", "attributes": {"a name of some length": "a text of some length"}})");
    for (const bool isReady : {false, true}) {
        if (isReady)
            ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber();
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            Counter counter;
            counter.known[0] =
                R"({"method":"downloadQ7FilesFromTolva","id":1,"params":)"
                R"({"a name of some length":"a text of some length","id":"a long identifier of the item"}})";
            CompletionCounter ends(&Downloader());
            HRESULT result = E_FAIL;
            memory.During([&] { result = Probe.StartDownloadFromTolva(request); });
            EXPECT_EQ(result, S_OK);
            EXPECT_EQ(counter.told[0], memory.HasRunOut() ? 0 : 1);
            EXPECT_EQ(counter.others, 0);
            EXPECT_EQ(ends.Failed, memory.HasRunOut() ? 1 : 0);
            EXPECT_EQ(ends.Succeeded, 0);
        });
        EXPECT_GT(failures, 10);
    }
}

TEST_F(BridgeWithoutMemory, EachMessageThatEndsADownloadEndsItOnce)
{
    const std::vector<std::pair<const char*, bool>> messages = {
        {R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a/path/of/some/length", "/b/path/of/some/length"],
             "docEnvId": "an environment of some length"}})",
         true},
        {R"({"id": 1, "result": {"downloadedQ7FilesPathes": []}})", false},
        {R"({"id": 1, "error": {"code": 5, "message": "a message of some length"}})", false},
        {R"({"id": 1})", false},
        {R"({"id": 2})", false},
        {"nonsense of some length", false}};
    for (const auto& [text, succeeds] : messages) {
        SCOPED_TRACE(text);
        const ZALOmxUTF8String message(text);
        const int failures = WithEachAllocationFailing([&, isSuccess = succeeds](FailingMemory& memory) {
            CompletionCounter ends(&Downloader());
            memory.During([&] { Probe.OnVliSubscriberEventCB(message); });
            const bool expected = isSuccess && !memory.HasRunOut();
            EXPECT_EQ(ends.Succeeded, expected ? 1 : 0);
            EXPECT_EQ(ends.Failed, expected ? 0 : 1);
            EXPECT_EQ(ends.Files, expected ? 2 : 0);
        });
        EXPECT_GT(failures, 3);
    }
}

TEST_F(BridgeWithoutMemory, UnknownMethodIsAnsweredWholeOrTheDownloadFails)
{
    const ZALOmxUTF8String message(R"({"method": "a method of some length", "id": 7})");
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        Counter counter;
        counter.known[0] = R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : 7})";
        CompletionCounter ends(&Downloader());
        memory.During([&] { Probe.OnVliSubscriberEventCB(message); });
        EXPECT_EQ(counter.told[0], memory.HasRunOut() ? 0 : 1);
        EXPECT_EQ(counter.others, 0);
        EXPECT_EQ(ends.Failed, memory.HasRunOut() ? 1 : 0);
    });
    EXPECT_GT(failures, 3);
}

TEST_F(BridgeWithoutMemory, RequestForFilesRunsOrIsAnsweredOrTheDownloadFails)
{
    ConfigureFrame({.exists = false}); // no dialog, whose lack alone fails no download
    const ZALOmxUTF8String message(
        R"({"method": "downloadFilesFromVL", "id": 7, "params": {"downloadUrls":
            {"a key of some length": "https://velmart.example/a"}, "downloadDestPath": "/a/folder/of/some/length"}})");
    int answered = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALVelmartFileDownloaderProbe probe;
        Counter counter;
        counter.known[0] = FailedReply;
        CompletionCounter ends(&probe.Downloader());
        const std::size_t started = Transport().Count();
        memory.During([&] { probe.OnVliSubscriberEventCB(message); });
        Loop().RunUntilIdle();
        EXPECT_EQ(Transport().Count() > started && Transport().Last().IsRunning(), !memory.HasRunOut());
        EXPECT_EQ(counter.told[0] + ends.Failed, memory.HasRunOut() ? 1 : 0);
        EXPECT_EQ(counter.others + ends.Succeeded, 0);
        answered += counter.told[0];
    });
    EXPECT_GT(failures, 20);
    EXPECT_GT(answered, 10);
}

TEST_F(BridgeWithoutMemory, FilesAreAnsweredOnceOrTheDownloadFails)
{
    ConfigureFrame({.exists = false}); // no dialog, whose lack alone fails no download
    const std::string answer = R"({"id":7,"result":{"downloadedFilesPathes":{"A":[")" + InParts("A") + R"("]}}})";
    int failed = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALVelmartFileDownloaderProbe probe;
        Counter counter;
        counter.known = {FailedReply, answer};
        CompletionCounter ends(&probe.Downloader());
        const std::string request =
            R"({"method": "downloadFilesFromVL", "id": 7, "params": {"downloadUrls": {"A": "https://velmart.example/a"},
                "downloadDestPath": ")" +
            Parts().string() + "\"}}";
        probe.OnVliSubscriberEventCB(ZALOmxUTF8String(request.c_str()));
        memory.During([&] { Transport().Last().End(); });
        Loop().RunUntilIdle();
        EXPECT_EQ(counter.told[1], memory.HasRunOut() ? 0 : 1);
        EXPECT_EQ(counter.told[0] + ends.Failed, memory.HasRunOut() ? 1 : 0);
        EXPECT_EQ(counter.others + ends.Succeeded, 0);
        failed += ends.Failed;
    });
    EXPECT_GT(failures, 10);
    EXPECT_GT(failed, 0);
    EXPECT_LT(failed, failures);
}

} // namespace
} // namespace openhost::testing
