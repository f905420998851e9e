#include "openhost/play/SessionFile.h"
#include "openhost/play/SessionPlayer.h"

#include "catalogue/service/CatalogueService.h"
#include "openhost/files/TemporaryFolder.h"

#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace openhost {

using Json = nlohmann::ordered_json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Plays sessions with a component on the bridge, with the real module against a real service.
class BridgeListenerTest : public ::testing::Test {
protected:
    BridgeListenerTest() : service_(folder_.Path()) { service_.Start(); }

    int Play(const std::string& steps)
    {
        const Session session = ParseSession(
            R"({"settings": {"DownloadLocation": "${PARTS}", "DoNotRemindDownloadLocation": true}, "steps": [)" +
                steps + "]}",
            folder_.Path(), {{"BASE", service_.GetAddress()}, {"PARTS", folder_.Path().string()}});
        events_.clear();
        return SessionPlayer(session, {BuildDir() + "/lib/ZALVelmartIntegration.so", folder_.Path()},
                             [this](const Json& event) { events_.push_back(event); })
            .Play();
    }
    /// Plays the steps of a component with `replies`, then of a download to its end, then of `more`.
    int PlayReplies(const std::string& replies, const std::string& more = "")
    {
        return Play(R"({"listener": {"replies": [)" + replies +
                    R"(]}}, {"message": {"event": "velmart_download", "content": {"id": 5}}}, {"wait": "idle"})" +
                    more);
    }

    std::vector<Json> EventsOf(const std::string& name) const
    {
        std::vector<Json> found;
        std::copy_if(events_.begin(), events_.end(), std::back_inserter(found),
                     [&](const Json& event) { return event.at("event") == name; });
        return found;
    }
    /// The messages over the bridge, such as "sent TEXT".
    std::vector<std::string> Messages() const
    {
        std::vector<std::string> messages;
        for (const Json& event : EventsOf("bridge"))
            messages.push_back(event.at("direction").get<std::string>() + " " + event.at("text").get<std::string>());
        return messages;
    }
    /// Where the first event stands that has all members of `like`.
    std::ptrdiff_t PositionOf(const Json& like) const
    {
        return std::ranges::find_if(events_,
                                    [&](const Json& event) {
                                        return std::ranges::all_of(like.items(), [&](const auto& member) {
                                            return event.contains(member.key()) &&
                                                   event[member.key()] == member.value();
                                        });
                                    }) -
               events_.begin();
    }

    static constexpr const char* Request = R"(sent {"method":"downloadQ7FilesFromTolva","id":1,"params":{"id":5}})";

    TemporaryFolder folder_;
    catalogue::CatalogueService service_;
    std::vector<Json> events_;
};

TEST_F(BridgeListenerTest, AComponentWithoutRepliesIsAskedAndSaysNothing)
{
    EXPECT_EQ(SessionPlayer::Done, PlayReplies(""));
    EXPECT_THAT(Messages(), ElementsAre(Request));
    EXPECT_THAT(EventsOf("request"), IsEmpty());
    EXPECT_FALSE(events_.back().contains("unusedReplies"));
}

TEST_F(BridgeListenerTest, AReplyInsideTheCallComesBeforeTheResult)
{
    EXPECT_EQ(SessionPlayer::Done, PlayReplies(R"({"to": "downloadQ7FilesFromTolva", "send": {"id": 1, "result": {
                              "downloadedQ7FilesPathes": ["${PARTS}/a.ZALPart"]}}})"));
    EXPECT_THAT(Messages(), ElementsAre(Request, "received {\"id\":1,\"result\":{\"downloadedQ7FilesPathes\":[\"" +
                                                     folder_.Path().string() + "/a.ZALPart\"]}}"));
    const std::ptrdiff_t completion =
        PositionOf({{"event", "notification"}, {"class", "ZALVelmartFileDownloadCompleteNotification"}});
    EXPECT_LT(PositionOf({{"event", "bridge"}, {"direction", "received"}}), completion);
    EXPECT_LT(completion, PositionOf({{"event", "result"}, {"operation", "OnJSMessage"}}));
}

TEST_F(BridgeListenerTest, ALaterReplyComesBehindTheResult)
{
    EXPECT_EQ(
        SessionPlayer::Done,
        PlayReplies(R"({"to": "downloadQ7FilesFromTolva", "later": true, "send": [{"id": 1}, "nonsense ${PARTS}"]})"));
    EXPECT_THAT(Messages(),
                ElementsAre(Request, R"(received {"id":1})", "received nonsense " + folder_.Path().string()));
    EXPECT_LT(PositionOf({{"event", "result"}, {"operation", "OnJSMessage"}}),
              PositionOf({{"event", "bridge"}, {"direction", "received"}}));
}

TEST_F(BridgeListenerTest, ARequestOfItsOwnIsKnownByItsMethodInTheReply)
{
    EXPECT_EQ(SessionPlayer::Done,
              PlayReplies(R"({"to": "downloadQ7FilesFromTolva", "send": [{"method": "dance", "id": 4},
                                                                         {"method": "sing"}]},
                             {"to": "sing", "send": {"id": 1, "error": {"code": 3, "message": "hoarse"}}},
                             {"to": "dance", "send": {"method": "rest", "id": 4}},
                             {"to": "rest", "send": []})"));
    const std::string unknown = R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : )";
    EXPECT_THAT(Messages(), ElementsAre(Request, R"(received {"method":"dance","id":4})", "sent " + unknown + "4}",
                                        R"(received {"method":"rest","id":4})", "sent " + unknown + "4}",
                                        R"(received {"method":"sing"})", "sent " + unknown + "-1}",
                                        R"(received {"id":1,"error":{"code":3,"message":"hoarse"}})"));
    ASSERT_EQ(1U, EventsOf("dialog").size());
    EXPECT_EQ("hoarse", EventsOf("dialog")[0].at("text"));
    EXPECT_FALSE(events_.back().contains("unusedReplies"));
}

TEST_F(BridgeListenerTest, EachReplyIsUsedOnceAndTheOthersAreCounted)
{
    const std::string again = R"(, {"message": {"event": "velmart_download", "content": {}}}, {"wait": "idle"})";
    EXPECT_EQ(SessionPlayer::Done, PlayReplies(R"({"to": "downloadQ7FilesFromTolva", "send": "first"},
                             {"to": "downloadQ7FilesFromTolva", "send": "second"},
                             {"to": "downloadFilesFromVL", "send": "never"})",
                                               again + again));
    std::vector<std::string> received;
    for (const std::string& message : Messages())
        if (message.starts_with("received"))
            received.push_back(message);
    EXPECT_THAT(received, ElementsAre("received first", "received second"));
    EXPECT_EQ(1, events_.back().at("unusedReplies"));
}

TEST_F(BridgeListenerTest, WithoutTheComponentTheModuleFetchesByItself)
{
    EXPECT_EQ(SessionPlayer::Done,
              PlayReplies(R"({"to": "downloadQ7FilesFromTolva", "send": "first", "later": true},
                             {"to": "downloadQ7FilesFromTolva", "send": "gone", "later": true})",
                          R"(, {"message": {"event": "velmart_download", "content": {"id": 6}}}, {"listener": null},
                             {"message": {"event": "velmart_download",
                                          "content": {"downloadUrl": "${BASE}/archive?entries=1"}}}, {"wait": "idle"})"));
    EXPECT_THAT(Messages(), ElementsAre(Request, "received first",
                                        R"(sent {"method":"downloadQ7FilesFromTolva","id":1,"params":{"id":6}})"))
        << "what the component had still to say is gone with it";
    EXPECT_EQ(1U, EventsOf("request").size());
    EXPECT_EQ(1U, EventsOf("extracted").size());
}

TEST_F(BridgeListenerTest, AnotherComponentTakesThePlaceOfTheFirst)
{
    EXPECT_EQ(SessionPlayer::Done,
              PlayReplies(R"({"to": "downloadQ7FilesFromTolva", "send": "first"})",
                          R"(, {"listener": {"replies": [{"to": "downloadQ7FilesFromTolva", "send": "second"}]}},
                             {"message": {"event": "velmart_download", "content": {"id": 5}}})"));
    EXPECT_THAT(Messages(), ElementsAre(Request, "received first", Request, "received second"));
}

TEST_F(BridgeListenerTest, AWaitForAMessageEndsWithIt)
{
    EXPECT_EQ(SessionPlayer::Failed,
              PlayReplies("", R"(, {"message": {"event": "velmart_download", "content": {}}}, {"wait": "bridge"},
                                   {"wait": "bridge"})"));
    EXPECT_EQ(6, events_.back().at("step"));
}

TEST_F(BridgeListenerTest, ASessionMayEndInsideATransferThatTheComponentAskedFor)
{
    EXPECT_EQ(SessionPlayer::Done, Play(R"({"listener": {"replies": [{"to": "downloadQ7FilesFromTolva", "send": {
                           "method": "downloadFilesFromVL", "id": 2, "params": {"downloadUrls": {
                           "A": "${BASE}/archive?entries=1&piece=10&pause=1000"}, "downloadDestPath": "${PARTS}"}}}]}},
                      {"message": {"event": "velmart_download", "content": {"id": 5}}}, {"wait": "request"})"));
    EXPECT_EQ(2U, Messages().size()) << "nobody is told";
    EXPECT_EQ("end", events_.back().at("event"));
}

} // namespace openhost
