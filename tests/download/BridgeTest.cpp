// Messages with another component of the host, which takes downloads over.

#include "openhost/objects/Traces.h"
#include "openhost/text/JsonOptions.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/panel.h"
#include "objects/Hold.h"

#include <array>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace openhost::testing {
namespace {

using nlohmann::ordered_json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

const std::string SentRequest = "ZALVelmartFileDownloader : Send downloadQ7FilesFromTolva request\n";
const std::string ReceivedRequest = "ZALVelmartFileDownloader : Received downloadFilesFromVL request\n";
const std::string ReceivedError = "ZALVelmartFileDownloader : Received downloadQ7FilesFromTolva error response\n";
const std::string ReceivedSuccess = "ZALVelmartFileDownloader : Received downloadQ7FilesFromTolva success response\n";
const std::string SentFiles = "ZALVelmartFileDownloader : Send downloadFilesFromVL response\n";
const std::string SentCancel = "ZALVelmartFileDownloader : Send downloadFilesFromVL cancel response\n";
const std::string SentError = "ZALVelmartFileDownloader : Send downloadFilesFromVL error response\n";

/// A reply of the component that ends the download with the file "/a", one that leaves it to the module, and two maps
/// of addresses to ask for.
constexpr const char* Success = R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})";
constexpr const char* FallBack = R"({"id": 1, "error": {"code": -1697450280, "message": "yours"}})";
constexpr const char* ItemA = R"({"A": "https://velmart.example/a"})";
constexpr const char* ItemB = R"({"B": "https://velmart.example/b"})";

/// A failure with a text for the user.
Completion FailedWith(const std::string& error)
{
    return {Notification::DownloadFailed, {}, "", error, {}};
}
/// The success of a component that names no environment.
Completion Delivered(const std::vector<std::string>& files)
{
    return {Notification::DownloadSucceeded, files, "UT5", "", {}};
}

/// What the component is answered.
std::string ErrorAnswer(int code, const std::string& message, const std::string& id = "7")
{
    return R"({ "error" : {"code": )" + std::to_string(code) + R"(, "message" : ")" + message + R"("}, "id" : )" + id +
           "}";
}
std::string FailedAnswer(const std::string& id = "7")
{
    return ErrorAnswer(-20, "Download Failed", id);
}
std::string FilesAnswer(const std::string& files, const std::string& id = "7")
{
    return R"({"id":)" + id + R"(,"result":{"downloadedFilesPathes":)" + files + "}}";
}

class Bridge : public DownloadFixture {
protected:
    Bridge() { Component.Subscribe(Publisher(), ZALDlgHtmlViewJavaScriptNotification::ClassName()); }

    static ZALBaseUnknown* Publisher() { return ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(); }
    /// The component sends `text`.
    static void Send(const std::string& text)
    {
        ZALDlgHtmlViewJavaScriptNotification message("", text.data(), text.size());
        DispatchCallbacks(ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber(), &message);
    }
    /// The module hands a download over, and nothing more is said.
    void HandOver(const std::string& request = R"({"downloadUrl": "https://velmart.example/item.zip", "id": 5})")
    {
        EXPECT_EQ(S_OK, Start(request));
        Messages.clear();
    }
    /// The component asks for the files of `urls`, a map in JSON, below the user's folder.
    static std::string Request(const std::string& urls, const std::string& folder, const std::string& id = "7")
    {
        return R"({"method": "downloadFilesFromVL", "id": )" + id + R"(, "params": {"downloadUrls": )" + urls +
               R"(, "downloadDestPath": ")" + folder + R"("}})";
    }
    void AskFor(const std::string& urls, const std::string& id = "7") { Send(Request(urls, Parts().string(), id)); }
    void AskForAllOf(const std::string& urls)
    {
        AskFor(urls);
        Loop().RunUntilIdle();
    }
    void ServePart(const std::string& name) { ServeFile("https://velmart.example/" + name, "x.ZALPart", name); }

    std::vector<std::string> Messages;                         ///< what the component was told
    std::function<void(const std::string& message)> OnMessage; ///< called after each message
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

TEST_F(Bridge, RequestHasTheAttributesThenTheIdentifierOfTheItem)
{
    const std::vector<std::pair<const char*, const char*>> items = {
        {R"({"id": "item-5", "name": "left away", )"
         R"("attributes": {"z": 1, "a": {"b": [1.5, "ä", null, true]}, "downloadUrls": {}}})",
         R"({"z":1,"a":{"b":[1.5,"ä",null,true]},"downloadUrls":{},"id":"item-5"})"},
        {"{}", R"({"id":null})"},
        {R"({"attributes": {}})", R"({"id":null})"},
        {R"({"attributes": [1]})", R"({"id":null})"},
        {R"({"attributes": "x"})", R"({"id":null})"},
        {R"({"id": {"number": 5}, "attributes": {"id": 4, "a": 1}})", R"({"id":4,"a":1,"id":{"number":5}})"},
        {R"({"attributes": {"a\"b": "c\"\\\n\u0000"}})", R"({"a\"b":"c\"\\\n\u0000","id":null})"}};
    std::vector<std::string> expected;
    for (const auto& [request, parameters] : items) {
        EXPECT_EQ(S_OK, Start(request)) << request;
        expected.push_back(std::string(R"({"method":"downloadQ7FilesFromTolva","id":1,"params":)") + parameters + "}");
    }
    EXPECT_EQ(expected, Messages);
    EXPECT_EQ(std::vector<std::string>(items.size(), SentRequest), Traces());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(Bridge, MessagesReachTheModuleFromTheFirstRequestOn)
{
    Send("no JSON");
    EXPECT_THAT(Receiver.Received, IsEmpty());

    HandOver();
    Send("no JSON");
    EXPECT_THAT(Receiver.Received, SizeIs(1));
    Send("no JSON");
    EXPECT_THAT(Receiver.Received, SizeIs(2)) << "also after the end of the download";
}

TEST_F(Bridge, MessageIsParsedWithIntegersKeptApartFromFloatingNumbers)
{
    HandOver();
    for (const char* message : {"no JSON", R"({"id": 1.0})", R"({"method": ""})"}) {
        const int before = ConsistentParses();
        Send(message);
        EXPECT_EQ(before + 1, ConsistentParses()) << message;
    }
}

// ---------------------------------------------------------------------------------------------
// The reply that ends the download

TEST_F(Bridge, SuccessDeliversThePathsInTheirOrderEachTimeItIsTold)
{
    const std::vector<std::string> paths = {"/p/part.ZALPart", "/p/Écrou.ZALProduct", ""};
    HandOver();
    for (int time = 0; time < 2; ++time)
        Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/p/part.ZALPart", "/p/Écrou.ZALProduct", ""]}})");
    EXPECT_THAT(Receiver.Received, ElementsAre(Delivered(paths), Delivered(paths)));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedSuccess, ReceivedSuccess));
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

TEST_F(Bridge, WhatIsNoReplyFailsTheDownloadWithoutATrace)
{
    HandOver();
    for (const std::string& text :
         {""s, "nonsense"s, R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]})"s, R"({"id": 1} {"id": 1})"s,
          "{\"id\": 1, \"\xFF\": 1}"s, "{\"id\": 1}\0"s, std::string(300, '[') + std::string(300, ']'), "1"s, "null"s,
          R"([{"id": 1}])"s, std::string("{}"), R"({"id": 1})"s, R"({"id": 1, "method": ["downloadFilesFromVL"]})"s,
          // Under another identifier.
          R"({"result": {"downloadedQ7FilesPathes": ["/a"]}})"s,
          R"({"id": 2, "result": {"downloadedQ7FilesPathes": ["/a"]}})"s,
          R"({"id": 1.0, "result": {"downloadedQ7FilesPathes": ["/a"]}})"s,
          R"({"id": "1", "result": {"downloadedQ7FilesPathes": ["/a"]}})"s,
          R"({"id": 4294967297, "result": {"downloadedQ7FilesPathes": ["/a"]}})"s,
          R"({"id": 2, "method": 5, "params": {"downloadUrls": {"a": "b"}}})"s, R"({"id": 2, "error": {"code": 5}})"s,
          R"({"error": {"code": 5}})"s}) {
        Receiver.Received.clear();
        Send(text);
        EXPECT_THAT(Receiver.Received, ElementsAre(Failed())) << text;
    }
    EXPECT_THAT(Traces(), ElementsAre(SentRequest));
    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(Bridge, ReplyThatSaysNothingFailsTheDownloadWithAnEmptyText)
{
    HandOver();
    for (const std::string reply :
         {R"("result": {})", R"("result": null)", R"("result": "/a")", R"("result": {"downloadedQ7FilesPathes": []})",
          R"("result": {"downloadedQ7FilesPathes": "/a"})", R"("result": {"downloadedQ7FilesPathes": {"a": "/a"}})",
          R"("result": {"downloadedQ7FilesPathes": ["/a", "/b", 3]})",
          R"("result": {"downloadedQ7FilesPathes": [null, "/a"]})", R"("error": {})", R"("error": null)",
          R"("error": "broken")", R"("error": null, "result": {"downloadedQ7FilesPathes": ["/a"]})",
          R"("error": {"code": "5", "message": "broken"})", R"("error": {"code": -1697450280.0, "message": "broken"})",
          R"("error": {"code": 5})", R"("error": {"code": 5, "message": {"en": "broken"}})"}) {
        Receiver.Received.clear();
        Send(R"({"id": 1, )" + reply + "}");
        EXPECT_THAT(Receiver.Received, ElementsAre(Failed())) << reply;
        EXPECT_EQ(reply.starts_with(R"("error")") ? ReceivedError : ReceivedSuccess, Traces().back()) << reply;
    }
    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(Bridge, ErrorTellsItsMessageAndWinsOverAResult)
{
    HandOver();
    Send(R"({"id": 1, "error": {"code": 5, "message": "Kein Zugriff auf \"Ä\""}})");
    Send(R"({"id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}, "error": {"code": 0, "message": "no"}})");
    EXPECT_THAT(Receiver.Received, ElementsAre(FailedWith("Kein Zugriff auf \"Ä\""), FailedWith("no")));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedError, ReceivedError));
}

TEST_F(Bridge, ReplyInsideTheRequestEndsTheDownloadBeforeItReturns)
{
    OnMessage = [this](const std::string&) {
        EXPECT_THAT(Traces(), ElementsAre(SentRequest)) << "it is traced before it goes out";
        Send(Success);
    };
    EXPECT_EQ(S_OK, Start("{}"));
    EXPECT_THAT(Receiver.Received, SizeIs(1));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedSuccess));
}

TEST_F(Bridge, ReceiverMayHandTheNextDownloadOverInsideTheNotification)
{
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        Start(R"({"id": "next"})");
    };
    HandOver();
    Send(Success);
    Send(Success);
    EXPECT_THAT(Messages, SizeIs(1));
    EXPECT_THAT(Receiver.Received, SizeIs(2));
}

TEST_F(Bridge, ReplyIsTracedBeforeItsEndIsTold)
{
    HandOver();
    std::vector<std::string> last;
    Receiver.OnReceipt = [&] { last.push_back(Traces().back()); };
    Send(R"({"id": 1, "error": {"code": 5, "message": "broken"}})");
    Send(Success);
    Send(R"({"id": 1, "error": "no map"})");
    Send(R"({"id": 1, "result": "no map"})");
    EXPECT_THAT(last, ElementsAre(ReceivedError, ReceivedSuccess, ReceivedError, ReceivedSuccess));
    EXPECT_THAT(Traces(), ElementsAre(SentRequest, ReceivedError, ReceivedSuccess, ReceivedError, ReceivedSuccess));
}

// ---------------------------------------------------------------------------------------------
// Fall-back

TEST_F(Bridge, FallBackRunsThePlainRouteWithTheRequestHandedOverLast)
{
    HandOver(R"({"downloadUrl": "https://velmart.example/first"})");
    HandOver();
    Transport().Answer(Url, {.chunks = {ZipBytes().Add("a.ZALPart", "part").Bytes()}});
    Send(FallBack);
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), ElementsAre(Url));

    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
    EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Bridge, FallBackRunsTheTemplateRouteWhereThatIsOn)
{
    Probe.SetTemplateSupport(true);
    SetSettings({}, false);
    HandOver();
    Send(FallBack);
    EXPECT_NE(nullptr, Surface().Find("ZALVelmartDownloadLocationDlg")) << "which asks for the folder first";
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(Bridge, FallBackThatCannotStartEndsInSilence)
{
    HandOver("{}");
    Send(FallBack);
    Loop().RunUntilIdle();
    EXPECT_THAT(Requested(), IsEmpty());

    const auto& running = StartTransfer();
    HandOver();
    Send(FallBack);
    EXPECT_TRUE(running.IsRunning());
    EXPECT_THAT(Requested(), ElementsAre(Url)) << "of the transfer that runs";
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
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

    EXPECT_THAT(Messages, ElementsAre(FilesAnswer(R"({"Bolt":[")" + InParts("Bolt.ZALPart") + R"("],"All":[")" +
                                                  InParts("c.ZALPart") + R"(",")" + InParts("d.ZALPart") + "\"]}")));
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
    AskForAllOf(ItemA);
    EXPECT_THAT(Messages, ElementsAre(FilesAnswer(R"({"A":[]})")));
}

TEST_F(Bridge, FetchesIntoTheTemporaryFolderWithoutAUsableOne)
{
    ServePart("a");
    HandOver();
    for (const std::string folder : {"", R"(, "downloadDestPath": 5)", R"(, "downloadDestPath": null)"}) {
        Send(R"({"method": "downloadFilesFromVL", "id": 2, "params": {"downloadUrls": )" + (ItemA + folder) + "}}");
        Loop().RunUntilIdle();
        EXPECT_EQ("a", ReadFile(Temp() / "A.ZALPart")) << folder;
        std::filesystem::remove(Temp() / "A.ZALPart");
    }
    EXPECT_THAT(Messages, SizeIs(3));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(Bridge, EmptyFolderIsTakenAsItStands)
{
    std::filesystem::create_directory(Folder() / "current");
    std::filesystem::current_path(Folder() / "current");
    ServePart("a");
    HandOver();
    Send(Request(ItemA, ""));
    Loop().RunUntilIdle();
    std::filesystem::current_path(Folder());

    ASSERT_THAT(Messages, SizeIs(1));
    const ordered_json path = ordered_json::parse(Messages[0])["result"]["downloadedFilesPathes"]["A"][0];
    EXPECT_EQ("A.ZALPart", std::filesystem::path(path.get<std::string>()).filename());
    EXPECT_FALSE(std::filesystem::exists(Temp() / "A.ZALPart"));
}

TEST_F(Bridge, RepliesUnderTheIdentifierThatTheComponentChose)
{
    const std::vector<std::pair<std::string, std::string>> identifiers = {
        {"0", "0"},    {"1", "1"},      {"-5", "-5"},   {"9007199254740993", "9007199254740993"},
        {"2.0", "-1"}, {"\"7\"", "-1"}, {"null", "-1"}, {"[3]", "-1"}};
    std::vector<std::string> expected;
    HandOver();
    for (const auto& [given, replied] : identifiers) {
        AskFor("{}", given);
        expected.push_back(FailedAnswer(replied));
    }
    Send(R"({"method": "downloadFilesFromVL"})");
    expected.push_back(FailedAnswer("-1"));
    EXPECT_EQ(expected, Messages);
}

TEST_F(Bridge, RequestWithoutAddressesIsAnsweredAsFailed)
{
    std::vector<std::string> traces{SentRequest};
    HandOver();
    for (const std::string parameters :
         {"", R"(, "params": ["a"])", R"(, "params": {})", R"(, "params": {"downloadUrls": {}})",
          R"(, "params": {"downloadUrls": ["https://a/"]})", R"(, "params": {"downloadUrls": "https://a/"})"}) {
        Messages.clear();
        Send(R"({"method": "downloadFilesFromVL", "id": 3)" + parameters + "}");
        EXPECT_THAT(Messages, ElementsAre(FailedAnswer("3"))) << parameters;
        traces.insert(traces.end(), {ReceivedRequest, SentError});
    }
    EXPECT_EQ(traces, Traces());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

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
    AskFor(ItemA);
    EXPECT_THAT(Messages, ElementsAre(FailedAnswer()));
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
    EXPECT_NE(nullptr, Surface().Find(ProgressWindow));
}

TEST_F(Bridge, FailedTransferIsAnsweredAsFailedAndTheDownloadGoesOn)
{
    ServePart("a");
    ServeEnd("https://velmart.example/b");
    HandOver();
    AskForAllOf(R"({"A": "https://velmart.example/a", "B": "https://velmart.example/b"})");
    EXPECT_THAT(Messages, ElementsAre(FailedAnswer()));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));

    Send(Success);
    EXPECT_THAT(Receiver.Received, SizeIs(1));
}

TEST_F(Bridge, EndOfATransferIsTracedBeforeItIsAnswered)
{
    HandOver();
    std::vector<std::string> last;
    OnMessage = [&](const std::string&) { last.push_back(Traces().back()); };
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed, TransferEnd::Cancelled}) {
        AskFor(ItemA);
        Transport().Last().End(end);
    }
    EXPECT_THAT(last, ElementsAre(SentFiles, SentError, SentCancel));
    EXPECT_THAT(Messages, ElementsAre(FilesAnswer(R"({"A":[")" + InParts("A") + "\"]}"), FailedAnswer(),
                                      ErrorAnswer(-10, "Download Canceled")));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(Bridge, MessagesOfTheCatalogGoInAsTheyStand)
{
    WriteBytes(Folder() / "installation/resources/msgcatalog/ZALVelmartFileDownloader.ZALNls",
               "DownloadCanceled = \"Übertragung \\\"ab\\\"\";\nDownloadFailed = \"a\\\\b\";\n");
    HandOver();
    AskFor("{}");
    AskFor(ItemA);
    Transport().Last().End(TransferEnd::Cancelled);
    EXPECT_THAT(Messages, ElementsAre(ErrorAnswer(-20, "a\\b"), ErrorAnswer(-10, "Übertragung \"ab\"")));
}

TEST_F(Bridge, UnknownMethodIsAnsweredAndEndsNothing)
{
    HandOver();
    Send(R"({"method": "downloadEverything", "id": 4})");
    Send(R"({"method": "", "id": 1, "result": {"downloadedQ7FilesPathes": ["/a"]}})");
    Send(R"({"method": "DownloadFilesFromVL"})");
    Send(R"({"method": "downloadFilesFromVL ", "id": 1.5})");
    const auto answer = [](const char* id) { return ErrorAnswer(-32601, "Method not found", id); };
    EXPECT_THAT(Messages, ElementsAre(answer("4"), answer("1"), answer("-1"), answer("-1")));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre(SentRequest));
}

TEST_F(Bridge, NextRequestGivesARunningTransferUpWithoutAReply)
{
    ServePart("b");
    HandOver();
    AskFor(ItemA, "7");
    const auto& first = Transport().Last();
    AskFor(ItemB, "8");
    EXPECT_FALSE(first.IsRunning());
    Loop().RunUntilIdle();
    EXPECT_THAT(Messages, ElementsAre(FilesAnswer(R"({"B":[")" + InParts("B.ZALPart") + "\"]}", "8")));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("B.ZALPart"));
    EXPECT_NE(nullptr, Surface().Find(ProgressWindow)) << "the dialog of the first stays with the host";
}

TEST_F(Bridge, ComponentMayAskAnewInsideAReply)
{
    ServePart("a");
    ServePart("b");
    HandOver();
    OnMessage = [this](const std::string&) {
        OnMessage = {};
        AskFor(ItemB, "8");
    };
    AskForAllOf(ItemA);
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
            AskFor(ItemB, "8");
    };
    AskForAllOf("{}");
    EXPECT_THAT(Messages, SizeIs(6));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("B.ZALPart"));
}

TEST_F(Bridge, RequestInsideAReplyThatComesInsideARequestIsTheOneThatRuns)
{
    HandOver();
    OnMessage = [this](const std::string&) {
        OnMessage = {};
        AskFor(ItemB, "8");
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
    AskForAllOf(ItemA);
    EXPECT_THAT(Receiver.Received, ElementsAre(Delivered({InParts("A.ZALPart")})));
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
    AskFor(ItemA);
    Send(Success);
    EXPECT_THAT(Receiver.Received, SizeIs(1));
    Loop().RunUntilIdle();
    EXPECT_THAT(Messages, SizeIs(1));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
    EXPECT_THAT(Receiver.Received, SizeIs(1));
}

// ---------------------------------------------------------------------------------------------
// Life

TEST_F(Bridge, EndOfTheComponentLosesTheReplyAlone)
{
    ServePart("a");
    HandOver();
    AskFor(ItemA);
    Component.RemoveSubscriberCallbacks(Publisher());
    Loop().RunUntilIdle();
    EXPECT_THAT(Messages, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("A.ZALPart"));
}

TEST_F(Bridge, EndOfTheDownloaderGivesItsTransferUp)
{
    HandOver();
    AskFor(ItemA);
    Probe.EndDownloader();
    Loop().RunUntilIdle();
    EXPECT_FALSE(Transport().Last().IsRunning());
    EXPECT_THAT(Messages, IsEmpty());
}

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
    EXPECT_EQ(0, calls);
    EXPECT_THAT(Receiver.Received, SizeIs(1));
}

TEST_F(Bridge, MessageAfterTheEndOfTheDownloaderIsDropped)
{
    HandOver();
    const ZALBaseUnknown_WR downloader(&Downloader());
    Probe.EndDownloader();
    EXPECT_EQ(nullptr, downloader.GetComponent()) << "the function does not keep it";
    for (const char* message : {"no JSON", R"({"method": "other", "id": 4})", R"({"method": "downloadFilesFromVL"})"})
        Send(message);
    EXPECT_EQ(0, CountOf("ZALVelmartFileDownloadCompleteNotification"));
    EXPECT_THAT(Messages, IsEmpty());
}

TEST_F(Bridge, FilesAfterTheEndOfTheDownloaderAreNotAnswered)
{
    HandOver();
    AskFor(ItemA);
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
    EXPECT_EQ(nullptr, downloader.GetComponent());
}

// ---------------------------------------------------------------------------------------------
// Without memory

/// A component that needs no memory: counts what it is told.
class MessageCounter : public ZALEventSubscriber {
public:
    explicit MessageCounter(ZALBaseUnknown* publisher)
    {
        AddCallback(publisher, ZALDlgHtmlViewJavaScriptNotification::ClassName(), &MessageCounter::OnMessage, nullptr);
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

class BridgeWithoutMemory : public Bridge {
protected:
    BridgeWithoutMemory()
    {
        Component.RemoveSubscriberCallbacks(Publisher());
        Receiver.RemoveSubscriberCallbacks(&Downloader());
        SwitchTraces(false); // the lack of a trace fails nothing
    }
    /// Calls `send`, which sends `message` to the component when there is memory. Returns the number of failures.
    int SendsWholeOrFails(const std::string& message, const std::function<void()>& send)
    {
        return WithEachAllocationFailing([&](FailingMemory& memory) {
            MessageCounter counter(Publisher());
            counter.known[0] = message;
            CompletionCounter ends(&Downloader());
            memory.During(send);
            EXPECT_EQ(memory.HasRunOut() ? 0 : 1, counter.told[0]);
            EXPECT_EQ(0, counter.others);
            EXPECT_EQ(memory.HasRunOut() ? 1 : 0, ends.Failed);
            EXPECT_EQ(0, ends.Succeeded);
        });
    }
};

TEST_F(BridgeWithoutMemory, RequestGoesOutWholeOrTheDownloadFails)
{
    const ZALOmxAny request = Json(
        R"({"id": "a long identifier of the item", "attributes": {"a name of some length": "a text of some length"}})");
    for (const bool isReady : {false, true}) {
        if (isReady)
            ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber();
        EXPECT_GT(SendsWholeOrFails(
                      R"({"method":"downloadQ7FilesFromTolva","id":1,"params":)"
                      R"({"a name of some length":"a text of some length","id":"a long identifier of the item"}})",
                      [&] { EXPECT_EQ(S_OK, Probe.StartDownloadFromTolva(request)); }),
                  10);
    }
}

TEST_F(BridgeWithoutMemory, UnknownMethodIsAnsweredWholeOrTheDownloadFails)
{
    const ZALOmxUTF8String message(R"({"method": "a method of some length", "id": 7})");
    EXPECT_GT(
        SendsWholeOrFails(ErrorAnswer(-32601, "Method not found"), [&] { Probe.OnVliSubscriberEventCB(message); }), 3);
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
            EXPECT_EQ(expected ? 1 : 0, ends.Succeeded);
            EXPECT_EQ(expected ? 0 : 1, ends.Failed);
            EXPECT_EQ(expected ? 2 : 0, ends.Files);
        });
        EXPECT_GT(failures, 3);
    }
}

TEST_F(BridgeWithoutMemory, RequestForFilesRunsOrIsAnsweredOrTheDownloadFails)
{
    ConfigureFrame({.exists = false}); // no dialog, whose lack alone fails no download
    const ZALOmxUTF8String message(
        Request(R"({"a key of some length": "https://velmart.example/a"})", "/a/folder/of/some/length").c_str());
    int answered = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALVelmartFileDownloaderProbe probe;
        MessageCounter counter(Publisher());
        counter.known[0] = FailedAnswer();
        CompletionCounter ends(&probe.Downloader());
        const std::size_t started = Transport().Count();
        memory.During([&] { probe.OnVliSubscriberEventCB(message); });
        Loop().RunUntilIdle();
        EXPECT_EQ(!memory.HasRunOut(), Transport().Count() > started && Transport().Last().IsRunning());
        EXPECT_EQ(memory.HasRunOut() ? 1 : 0, counter.told[0] + ends.Failed);
        EXPECT_EQ(0, counter.others + ends.Succeeded);
        answered += counter.told[0];
    });
    EXPECT_GT(failures, 20);
    EXPECT_GT(answered, 10);
}

TEST_F(BridgeWithoutMemory, FilesAreAnsweredOnceOrTheDownloadFails)
{
    ConfigureFrame({.exists = false}); // no dialog, whose lack alone fails no download
    const ZALOmxUTF8String request(Request(ItemA, Parts().string()).c_str());
    int failed = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALVelmartFileDownloaderProbe probe;
        MessageCounter counter(Publisher());
        counter.known = {FailedAnswer(), FilesAnswer(R"({"A":[")" + InParts("A") + "\"]}")};
        CompletionCounter ends(&probe.Downloader());
        probe.OnVliSubscriberEventCB(request);
        memory.During([&] { Transport().Last().End(); });
        Loop().RunUntilIdle();
        EXPECT_EQ(memory.HasRunOut() ? 0 : 1, counter.told[1]);
        EXPECT_EQ(memory.HasRunOut() ? 1 : 0, counter.told[0] + ends.Failed);
        EXPECT_EQ(0, counter.others + ends.Succeeded);
        failed += ends.Failed;
    });
    EXPECT_GT(failures, 10);
    EXPECT_GT(failed, 0);
    EXPECT_LT(failed, failures);
}

} // namespace
} // namespace openhost::testing
