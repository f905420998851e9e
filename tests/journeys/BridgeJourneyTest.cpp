// Downloads that another component of the host takes over, with its messages over the real bridge.

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/panel.h"
#include "openhost/documents/CadDocument.h"
#include "tests/journeys/JourneyFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>

#include <functional>

using namespace openhost;
using namespace openhost::testing;
using Notification = ZALVelmartFileDownloadCompleteNotification;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// A component that takes messages and answers as a test says.
class BridgeJourney : public JourneyFixture {
protected:
    BridgeJourney()
    {
        component_.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                             ZALDlgHtmlViewJavaScriptNotification::ClassName());
    }

    static void SendText(const std::string& text)
    {
        ZALDlgHtmlViewJavaScriptNotification message("", text.data(), text.size());
        DispatchCallbacks(ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber(), &message);
    }
    static void Send(const json& message) { SendText(message.dump()); }
    /// Asks for the files of `urls` below the user's folder.
    void AskFor(const json& urls, int id = 7) const
    {
        Send({{"method", "downloadFilesFromVL"},
              {"id", id},
              {"params", {{"downloadUrls", urls}, {"downloadDestPath", Parts().string()}}}});
    }
    /// Ends the download with `paths`.
    static void Deliver(const json& paths) { Send({{"id", 1}, {"result", {{"downloadedQ7FilesPathes", paths}}}}); }
    static void Leave() { Send({{"id", 1}, {"error", {{"code", -1697450280}, {"message", "yours"}}}}); }

    std::string FileUrl(const std::string& name) const { return Base() + "/files/" + name; }
    static std::string Original(const std::string& name)
    {
        return ReadFile(std::filesystem::path(ItemsDir()) / "files" / name);
    }

    std::function<void(const json& request)> OnRequest; ///< a message with a method
    std::function<void(const json& reply)> OnReply;     ///< a reply to the component's request
    std::vector<std::string> Messages;                  ///< all of them

private:
    openhost::testing::Listener component_{[this](ZALBaseUnknown*, ZALNotification* notification, void*) {
        const auto* text = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
        Messages.emplace_back(text->GetData(), text->GetDataLength());
        const json message = json::parse(Messages.back());
        const auto& react = message.contains("method") ? OnRequest : OnReply;
        if (react)
            react(message);
    }};
};

TEST_F(BridgeJourney, TheComponentHasTheModuleFetchTheItemAndHandsItsFilesOver)
{
    OnRequest = [this](const json& request) {
        EXPECT_EQ("bearing-unit-20", request["params"]["id"]);
        EXPECT_EQ("BEARING_UNIT_20", request["params"]["fileName"]);
        AskFor({{"Item", request["params"]["downloadUrls"]["ZALOR_RAW"]}});
    };
    OnReply = [](const json& reply) {
        EXPECT_EQ(7, reply["id"]);
        Deliver(reply["result"]["downloadedFilesPathes"]["Item"]);
    };
    const auto completion = Fetch(RequestOf("bearing-unit-20"));
    EXPECT_EQ("UT5", completion.docEnvId);

    const std::filesystem::path root = completion.files.front();
    EXPECT_EQ(".ZALProduct", root.extension());
    for (const std::string& file : completion.files)
        EXPECT_THAT(ReadDocument(file).links, ::testing::Not(::testing::Contains(root.filename().string())));
    EXPECT_EQ(completion.files.size(), FilesInParts().size());
    EXPECT_THAT(Messages, SizeIs(2));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_EQ(nullptr, Surface().Find("ZALVelmartDownloadProgressDlg"));
}

TEST_F(BridgeJourney, ArchivesAndRawFilesComeInTheOrderOfTheirKeys)
{
    json paths;
    OnRequest = [this](const json&) {
        // A text, because a map would sort the keys.
        SendText(R"({"method": "downloadFilesFromVL", "id": 2, "params": {"downloadUrls": {
                     "Washer": ")" +
                 FileUrl("ISO7089_M10.ZALPart") + R"(", "Bolt": ")" + FileUrl("hexagon-bolt-m8x40.zip") +
                 R"(", "Bracket": ")" + FileUrl("BRACKET_40.ZALPart") + R"("}, "downloadDestPath": ")" +
                 Parts().string() + R"("}})");
    };
    OnReply = [&](const json&) {
        const auto reply = nlohmann::ordered_json::parse(Messages.back());
        std::vector<std::string> keys;
        for (const auto& [key, files] : reply["result"]["downloadedFilesPathes"].items()) {
            keys.push_back(key);
            for (const auto& file : files)
                paths.push_back(file.get<std::string>());
        }
        EXPECT_THAT(keys, ElementsAre("Washer", "Bolt", "Bracket"));
        Deliver(paths);
    };
    const auto completion = Fetch(RequestOf("washer-m8"));
    EXPECT_EQ(paths.get<std::vector<std::string>>(), completion.files);
    EXPECT_EQ(Original("ISO7089_M10.ZALPart"), ReadFile(Parts() / "Washer.ZALPart"));
    EXPECT_EQ(Original("BRACKET_40.ZALPart"), ReadFile(Parts() / "Bracket.ZALPart"));
    for (const std::string& file : completion.files)
        EXPECT_NO_THROW(ReadDocument(file)) << file;
    EXPECT_THAT(FilesInParts(), SizeIs(completion.files.size()));
}

TEST_F(BridgeJourney, TheComponentFetchesInVainAndThenLeavesTheItemToTheModule)
{
    OnRequest = [this](const json&) { AskFor({{"A", FileUrl("bolted-joint-m8.zip?cut=100")}}); };
    OnReply = [](const json& reply) {
        EXPECT_EQ(-20, reply["error"]["code"]);
        EXPECT_EQ("Download Failed", reply["error"]["message"]) << "of the message catalog";
        Leave();
    };
    const auto completion = Fetch(RequestOf("bolted-joint-m8"));
    EXPECT_EQ("File", completion.docEnvId);
    EXPECT_THAT(Messages, SizeIs(2));
}

TEST_F(BridgeJourney, TheSecondAnswerFindsNoReceiver)
{
    OnRequest = [](const json&) {
        Send({{"id", 1}, {"error", {{"code", 5}, {"message", "no access"}}}});
        Send({{"id", 1}, {"error", {{"code", 5}, {"message", "no access"}}}});
    };
    EXPECT_EQ(S_OK, JourneyFixture::Send("velmart_download", RequestOf("bolted-joint-m8")));
    RunUntilIdle();
    EXPECT_THAT(Listener().Completions(), SizeIs(2));
    ASSERT_THAT(Surface().Questions(), SizeIs(1)) << "the user is told once";
    EXPECT_EQ("no access", Surface().Questions()[0].text);
}

TEST_F(BridgeJourney, NonsenseEndsTheDownloadAndTheNextOneRuns)
{
    OnRequest = [](const json&) { SendText("\xFF nonsense {"); };
    const auto failed = Download(RequestOf("bolted-joint-m8"));
    EXPECT_EQ(Notification::DownloadFailed, failed.status);
    EXPECT_THAT(failed.files, IsEmpty());
    ASSERT_THAT(Surface().Questions(), SizeIs(1));
    EXPECT_EQ("FileDownloadErrorNotify", Surface().Questions()[0].name);
    EXPECT_THAT(FilesInParts(), IsEmpty());
    OnRequest = [](const json&) { Leave(); };
    const auto completion = Fetch(RequestOf("bolted-joint-m8"));
}
