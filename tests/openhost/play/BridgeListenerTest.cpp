#include "tests/openhost/play/SessionFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace openhost {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// Plays sessions with a component on the bridge.
class BridgeListenerTest : public SessionFixture {
protected:
    /// The steps of a component with `replies`, then of a download to its end, then `more`.
    static std::string Replies(const std::string& replies, const std::string& more = "")
    {
        return R"({"listener": {"replies": [)" + replies +
               R"(]}}, {"message": {"event": "velmart_download", "content": {"id": 5}}}, {"wait": "idle"})" + more;
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
};

TEST_F(BridgeListenerTest, AComponentWithoutRepliesIsAskedAndSaysNothing)
{
    PlaySteps(Replies(""));
    EXPECT_THAT(Messages(), ElementsAre(Request));
    EXPECT_THAT(EventsOf("request"), IsEmpty());
    EXPECT_FALSE(events_.back().contains("unusedReplies"));
}

TEST_F(BridgeListenerTest, AReplyInsideTheCallComesBeforeTheResult)
{
    PlaySteps(Replies(R"({"to": "downloadQ7FilesFromTolva", "send": {"id": 1, "result": {
                              "downloadedQ7FilesPathes": ["${DOWNLOADS}/a.ZALPart"]}}})"));
    EXPECT_THAT(Messages(), ElementsAre(Request, "received {\"id\":1,\"result\":{\"downloadedQ7FilesPathes\":[\"" +
                                                     Downloads().string() + "/a.ZALPart\"]}}"));
    const std::ptrdiff_t completion =
        PositionOf({{"event", "notification"}, {"class", "ZALVelmartFileDownloadCompleteNotification"}});
    EXPECT_LT(PositionOf({{"event", "bridge"}, {"direction", "received"}}), completion);
    EXPECT_LT(completion, PositionOf({{"event", "result"}, {"operation", "OnJSMessage"}}));
}

TEST_F(BridgeListenerTest, ALaterReplyComesAfterTheResult)
{
    PlaySteps(
        Replies(R"({"to": "downloadQ7FilesFromTolva", "later": true, "send": [{"id": 1}, "nonsense ${DOWNLOADS}"]})"));
    EXPECT_THAT(Messages(), ElementsAre(Request, R"(received {"id":1})", "received nonsense " + Downloads().string()));
    EXPECT_LT(PositionOf({{"event", "result"}, {"operation", "OnJSMessage"}}),
              PositionOf({{"event", "bridge"}, {"direction", "received"}}));
}

TEST_F(BridgeListenerTest, ARequestOfItsOwnIsKnownByItsMethodInTheReply)
{
    PlaySteps(Replies(R"({"to": "downloadQ7FilesFromTolva", "send": [{"method": "dance", "id": 4},
                                                                         {"method": "sing"}]},
                             {"to": "sing", "send": {"id": 1, "error": {"code": 3, "message": "hoarse"}}},
                             {"to": "dance", "send": {"method": "rest", "id": 4}},
                             {"to": "rest", "send": []})"));
    const std::string unknown = R"({ "error" : {"code": -32601, "message" : "Method not found"}, "id" : )";
    EXPECT_THAT(Messages(), ElementsAre(Request, R"(received {"method":"dance","id":4})", "sent " + unknown + "4}",
                                        R"(received {"method":"rest","id":4})", "sent " + unknown + "4}",
                                        R"(received {"method":"sing"})", "sent " + unknown + "-1}",
                                        R"(received {"id":1,"error":{"code":3,"message":"hoarse"}})"));
    EXPECT_THAT(Values("dialog", "text"), ElementsAre("hoarse"));
    EXPECT_FALSE(events_.back().contains("unusedReplies"));
}

TEST_F(BridgeListenerTest, EachReplyIsUsedOnceAndTheOthersAreCounted)
{
    const std::string again = R"(, {"message": {"event": "velmart_download", "content": {}}}, {"wait": "idle"})";
    PlaySteps(Replies(R"({"to": "downloadQ7FilesFromTolva", "send": "first"},
                             {"to": "downloadQ7FilesFromTolva", "send": "second"},
                             {"to": "downloadFilesFromVL", "send": "never"})",
                      again + again));
    EXPECT_THAT(Messages(),
                ElementsAre(Request, "received first", StartsWith("sent"), "received second", StartsWith("sent")));
    EXPECT_EQ(1, events_.back().at("unusedReplies"));
}

TEST_F(BridgeListenerTest, WithoutTheComponentTheModuleFetchesByItself)
{
    PlaySteps(Replies(R"({"to": "downloadQ7FilesFromTolva", "send": "first", "later": true},
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
    PlaySteps(Replies(R"({"to": "downloadQ7FilesFromTolva", "send": "first"})",
                      R"(, {"listener": {"replies": [{"to": "downloadQ7FilesFromTolva", "send": "second"}]}},
                             {"message": {"event": "velmart_download", "content": {"id": 5}}})"));
    EXPECT_THAT(Messages(), ElementsAre(Request, "received first", Request, "received second"));
}

TEST_F(BridgeListenerTest, AWaitForAMessageEndsWithIt)
{
    FailureOfSteps(Replies("", R"(, {"message": {"event": "velmart_download", "content": {}}}, {"wait": "bridge"},
                                   {"wait": "bridge"})"));
    EXPECT_EQ(6, events_.back().at("step"));
}

TEST_F(BridgeListenerTest, ASessionMayEndInsideATransferThatTheComponentAskedFor)
{
    PlaySteps(R"({"listener": {"replies": [{"to": "downloadQ7FilesFromTolva", "send": {
                           "method": "downloadFilesFromVL", "id": 2, "params": {"downloadUrls": {
                           "A": "${BASE}/archive?entries=1&piece=10&pause=1000"}, "downloadDestPath": "${DOWNLOADS}"}}}]}},
                      {"message": {"event": "velmart_download", "content": {"id": 5}}}, {"wait": "request"})");
    EXPECT_EQ(2U, Messages().size()) << "nobody is told";
    EXPECT_EQ("end", events_.back().at("event"));
}

} // namespace openhost
