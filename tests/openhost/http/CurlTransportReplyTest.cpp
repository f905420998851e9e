// Replies of every kind over real sockets.
#include "tests/openhost/http/HttpFixture.h"

#include "openhost/files/Descriptor.h"

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sys/socket.h>

using namespace openhost;
using namespace openhost::testing;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Pair;
using ::testing::StartsWith;

namespace {
class CurlTransportReply : public HttpFixture {
protected:
    struct Case {
        std::string what;
        std::string reply; ///< the bytes of the server, which then ends the connection
        std::string told;  ///< as Fetch::Told
    };
    static void Check(const std::vector<Case>& cases)
    {
        for (const auto& [what, reply, told] : cases) {
            RawServer server(RawServer::Once(reply));
            EXPECT_EQ(told, ToldOf(server.Url())) << what;
        }
    }
};

const std::string Head = "HTTP/1.1 200 OK\r\n";
const std::string Chunked = Head + "Transfer-Encoding: chunked\r\n\r\n";
} // namespace

// ---------------------------------------------------------------------------------------------
// Replies that end well

TEST_F(CurlTransportReply, AWholeReplyComesAsHeadersThenDataThenOneCompletion)
{
    RawServer server(RawServer::Once(Reply("abc", "Content-Type: text/plain\r\n")));
    Fetch fetch(server.Url("/a?b=c"));
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abc", fetch.Told());
    EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
    EXPECT_THAT(fetch->progress, ElementsAre(Pair(3, 3)));
    EXPECT_THAT(server.Requests().at(0), StartsWith("GET /a?b=c HTTP/1.1\r\n"));
}

TEST_F(CurlTransportReply, NothingIsCalledBeforeTheLoopRuns)
{
    RawServer server(RawServer::Once(Reply("abc")));
    Fetch fetch(server.Url());
    EXPECT_EQ(ZALHttpStatusUnsent, fetch.Request().GetStatus());
    ASSERT_TRUE(fetch.Send());
    EXPECT_EQ("", fetch->calls);
    EXPECT_EQ(ZALHttpStatusRunning, fetch.Request().GetStatus());
    EXPECT_EQ(nullptr, fetch.Request().GetResponse());
    Complete(fetch);
}

TEST_F(CurlTransportReply, AReplyWithoutABodyHasHeadersAndNoData)
{
    Check({{"of no length", Reply("", "X-Mark: 1\r\n"), "hc finished 200: "},
           {"of a code without one", "HTTP/1.1 204 No Content\r\n\r\n", "hc finished 204: "}});
}

TEST_F(CurlTransportReply, AnErrorCodeDeliversItsBodyAndARefusedResponse)
{
    for (const std::string status :
         {"404 Not Found", "500 Internal Server Error", "401 Unauthorized", "304 Not Modified"}) {
        const std::string body = status.starts_with("304") ? "" : R"({"error":1})";
        RawServer server(RawServer::Once(Reply(body, "Content-Type: application/json\r\n", status)));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ((body.empty() ? "hc" : "hdpc") + (" finished " + status.substr(0, 3)) + ": " + body, fetch.Told());
        EXPECT_EQ(ZALHttpResponseRefused, fetch->state) << status;
    }
}

TEST_F(CurlTransportReply, AReplyWithoutLengthEndsWithTheConnectionAndHasNoTotal)
{
    RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\n\r\nabcdef"));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abcdef", fetch.Told());
    EXPECT_THAT(fetch->progress.back(), Pair(6, 0));
}

TEST_F(CurlTransportReply, AChunkedReplyIsPutTogetherAndItsTrailersAreNoHeaders)
{
    RawServer server(RawServer::Once(Chunked + "3;name=value\r\nabc\r\n4\r\ndefg\r\n0\r\nX-Trailer: late\r\n\r\n"));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abcdefg", fetch.Told());
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("Transfer-Encoding", "chunked")));
    EXPECT_THAT(fetch->progress.back(), Pair(7, 0));
}

TEST_F(CurlTransportReply, AReplyOfSeveralMegabytesArrivesByteForByte)
{
    std::string body(5'000'003, '\0');
    for (std::size_t at = 0; at < body.size(); ++at)
        body[at] = static_cast<char>(at * 2654435761U >> 24);
    RawServer server(RawServer::Once(Reply(body)));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_TRUE(body == fetch->body);
    EXPECT_EQ("hdpc", fetch->Shape());
    EXPECT_THAT(fetch->progress.back(), Pair(body.size(), body.size()));
    EXPECT_TRUE(std::is_sorted(fetch->progress.begin(), fetch->progress.end()));
}

TEST_F(CurlTransportReply, AReplyThatComesByteByByteIsTheSame)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        for (const char byte : Reply("abc", "X-Mark: 1\r\n"))
            connection.Send({&byte, 1});
    });
    EXPECT_EQ("hdpc finished 200: abc", ToldOf(server.Url()));
}

TEST_F(CurlTransportReply, BytesBeyondTheAnnouncedLengthAreDropped)
{
    Check({{"", Reply("abc") + Head + "\r\nmore", "hdpc finished 200: abc"}});
}

TEST_F(CurlTransportReply, InterimRepliesAreNotDelivered)
{
    RawServer server(RawServer::Once("HTTP/1.1 100 Continue\r\nX-Interim: 1\r\n\r\n"
                                     "HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" +
                                     Reply("abc", "X-Final: 1\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abc", fetch.Told());
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("Content-Length", "3"), Pair("X-Final", "1")));
}

TEST_F(CurlTransportReply, TheReplyToHeadHasNoBodyAndCountsAsWhole)
{
    RawServer server(RawServer::Once(Head + "Content-Length: 1000\r\n\r\n"));
    EXPECT_EQ("hc finished 200: ", ToldOf(server.Url(), "HEAD"));
    EXPECT_THAT(server.Requests().at(0), StartsWith("HEAD / HTTP/1.1\r\n"));
}

// ---------------------------------------------------------------------------------------------
// Headers

TEST_F(CurlTransportReply, HeadersAreOrderedByNameAndKeepTheOrderOfTheirValues)
{
    using Headers = std::vector<std::pair<std::string, std::string>>;
    const std::vector<std::tuple<std::string, std::string, Headers>> cases = {
        {"several of a name",
         "x-b: 2\r\nX-A: 1\r\nX-B:   3  \r\nx-B:\r\n",
         {{"X-A", "1"}, {"x-b", "2"}, {"X-B", "3"}, {"x-B", ""}}},
        {"UTF-8, or else Latin-1", "X-A: \xC3\xA4\r\nX-B: \xE4\r\n", {{"X-A", "\xC3\xA4"}, {"X-B", "\xC3\xA4"}}},
        {"folded", "X-A: 1\r\n  2\r\n", {{"X-A", "1 2"}}}};
    for (const auto& [what, headers, expected] : cases) {
        RawServer server(RawServer::Once(Reply("", headers)));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        Headers all = {{"Content-Length", "0"}};
        all.insert(all.end(), expected.begin(), expected.end());
        EXPECT_EQ(all, fetch->headers) << what;
    }
}

TEST_F(CurlTransportReply, AnEndlessHeadFailsWithinBounds)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\n");
        const std::string line = "X-Mark: " + std::string(1000, 'a') + "\r\n";
        while (connection.Send(line)) {
        }
    });
    EXPECT_EQ("c failed 0: ", ToldOf(server.Url()));
    EXPECT_EQ("the head of the reply is too long", Journalled("transfer")["error"]);
}

TEST_F(CurlTransportReply, AHeadHasAtMost256Kibibytes)
{
    std::string headers;
    for (int number = 0; number < 250; ++number)
        headers += "X-" + std::to_string(number) + ": " + std::string(1000, 'a') + "\r\n";
    headers += "X-Last: ";
    const std::size_t missing = CurlTransport::MaximumHeadSize - Reply("", headers + "\r\n").size();
    const auto replyWith = [&](std::size_t size) { return Reply("", headers + std::string(size, 'a') + "\r\n"); };
    ASSERT_EQ(CurlTransport::MaximumHeadSize, replyWith(missing).size());
    RawServer server(RawServer::Once(replyWith(missing)));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hc finished 200: ", fetch.Told());
    EXPECT_EQ(252U, fetch->headers.size());
    Check({{"one byte more", replyWith(missing + 1), "c failed 0: "}});
    EXPECT_EQ("the head of the reply is too long", Journalled("transfer")["error"]);
}

// ---------------------------------------------------------------------------------------------
// Replies that do not end well

TEST_F(CurlTransportReply, ABodyShorterThanItsLengthFails)
{
    for (const std::size_t sent : {0U, 1U, 999U}) {
        RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + std::string(sent, 'a')));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ((sent > 0 ? "hdpc" : "hc") + (" failed 200: " + std::string(sent, 'a')), fetch.Told());
        EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
    }
}

TEST_F(CurlTransportReply, AChunkedBodyWithoutItsEndFails)
{
    Check({{"no chunk", Chunked, "hc failed 200: "},
           {"a cut chunk", Chunked + "5\r\nabc", "hdpc failed 200: abc"},
           {"no last chunk", Chunked + "3\r\nabc\r\n", "hdpc failed 200: abc"},
           {"no end of the last", Chunked + "3\r\nabc\r\n0\r\n", "hdpc failed 200: abc"},
           {"no length", Chunked + "zz\r\nabc\r\n0\r\n\r\n", "hc failed 200: "}});
}

TEST_F(CurlTransportReply, ALengthThatIsNoNumberOfBytesFails)
{
    for (const std::string length : {"abc", "3x", "x3", "+3", "-3", "3 4", "3,3", "0x3", "3.0", "",
                                     "9223372036854775808", "18446744073709551616", "99999999999999999999999"})
        Check({{length, Head + "Content-Length: " + length + "\r\n\r\nabc", "c failed 0: "}});
    EXPECT_EQ("the length of the reply is no number of bytes", Journalled("transfer")["error"]);
}

TEST_F(CurlTransportReply, TheLargestLengthIsTakenAndItsBodyCutShort)
{
    Check({{"", Head + "Content-Length: 9223372036854775807\r\n\r\nabc", "hdpc failed 200: abc"}});
}

TEST_F(CurlTransportReply, ALengthUnderAnotherNameIsNone)
{
    for (const std::string name : {"Content-Length ", "Content-Length\t", "XContent-Length"})
        Check({{name, Head + name + ": 9\r\n\r\nabc", "hdpc finished 200: abc"}});
}

TEST_F(CurlTransportReply, TwoLengthsMustBeTheSame)
{
    const auto reply = [](const std::string& first, const std::string& second) {
        return Head + "Content-Length: " + first + "\r\nContent-Length: " + second + "\r\n\r\nabc";
    };
    Check({{"the shorter first", reply("1", "3"), "c failed 0: "},
           {"the longer first", reply("3", "1"), "c failed 0: "},
           {"the same twice", reply("3", "3"), "hdpc finished 200: abc"},
           {"the same number twice", reply("3", "03"), "hdpc finished 200: abc"}});
}

TEST_F(CurlTransportReply, ARedirectionWithTwoLengthsIsNotFollowed)
{
    Check(
        {{"", "HTTP/1.1 302 Found\r\nLocation: /a\r\nContent-Length: 0\r\nContent-Length: 3\r\n\r\n", "c failed 0: "}});
}

TEST_F(CurlTransportReply, ATransferEncodingThatNobodyAskedForFails)
{
    for (const std::string encoding : {"gzip", "gzip, chunked", "chunked, chunked", "identity", ""})
        Check({{encoding, Head + "Transfer-Encoding: " + encoding + "\r\n\r\n3\r\nabc\r\n0\r\n\r\n", "c failed 0: "}});
}

TEST_F(CurlTransportReply, ChunksCountAndNotTheLengthBesideThem)
{
    Check({{"", Head + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n",
            "hdpc finished 200: abc"}});
}

TEST_F(CurlTransportReply, AConnectionThatIsClosedInsideTheHeadFailsWithoutHeaders)
{
    Check({{"no byte", "", "c failed 0: "},
           {"a line", Head, "c failed 0: "},
           {"part of a line", Head + "Content-Le", "c failed 0: "},
           {"an interim reply", "HTTP/1.1 100 Continue\r\n\r\n", "c failed 0: "}});
}

TEST_F(CurlTransportReply, WhatIsNoHttpFails)
{
    for (const std::string reply : {"SSH-2.0-server\r\n", "\r\n\r\n", "<html></html>", "HTTP/1.1 abc\r\n\r\n"}) {
        RawServer server(RawServer::Once(reply));
        EXPECT_THAT(ToldOf(server.Url()), MatchesRegex("h?c failed [0-9]+: ")) << reply;
    }
}

TEST_F(CurlTransportReply, AConnectionThatIsResetBeforeTheHeadFails)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Reset();
    });
    EXPECT_EQ("c failed 0: ", ToldOf(server.Url()));
}

TEST_F(CurlTransportReply, AConnectionThatIsResetInTheBodyFails)
{
    const ServerCertificate certificate;
    Trust(certificate);
    for (const ServerCertificate* ofServer : {static_cast<const ServerCertificate*>(nullptr), &certificate}) {
        RawServer server(
            [](RawServer::Connection& connection) {
                connection.ReadRequest();
                connection.Send("HTTP/1.1 200 OK\r\n\r\nabc");
                connection.AwaitTold();
                connection.Reset();
            },
            ofServer);
        Fetch fetch(server.Url());
        fetch->onData = [&](ZALCefHttpRequest*) { server.Tell(); };
        RunWhole(fetch);
        EXPECT_EQ("hdpc failed 200: abc", fetch.Told()) << server.Url();
    }
}

TEST_F(CurlTransportReply, AServerThatIsNotThereFails)
{
    std::string url;
    {
        RawServer server(RawServer::Once(""));
        url = server.Url();
    }
    EXPECT_EQ("c failed 0: ", ToldOf(url));
    EXPECT_THAT(Journalled("transfer")["error"].get<std::string>(), MatchesRegex("[ -~]+")) << "the reason in words";
}

TEST_F(CurlTransportReply, AConnectionThatIsNotTakenFailsAtTheLimit)
{
    Use({.connectTimeout = 100ms});
    // A queue of one connection, which is full: the system leaves the next one without an answer.
    const Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const Descriptor queued(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const bare = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(0, ::bind(listener.Number(), bare, size));
    ASSERT_EQ(0, ::listen(listener.Number(), 0));
    ASSERT_EQ(0, ::getsockname(listener.Number(), bare, &size));
    ASSERT_EQ(0, ::connect(queued.Number(), bare, size));

    EXPECT_EQ("c failed 0: ", ToldOf("http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/"));
    EXPECT_THAT(Journalled("transfer")["error"].get<std::string>(), MatchesRegex("[ -~]+"));
}

TEST_F(CurlTransportReply, SilenceBeforeTheHeadFailsAtTheLimit)
{
    Use({.silenceTimeout = 100ms});
    RawServer server([](RawServer::Connection& connection) { connection.AwaitClosed(); });
    EXPECT_EQ("c failed 0: ", ToldOf(server.Url()));
    EXPECT_EQ("nothing was received for 100 ms", Journalled("transfer")["error"]);
}

TEST_F(CurlTransportReply, SilenceInTheBodyFailsAtTheLimit)
{
    Use({.silenceTimeout = 100ms});
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
        connection.AwaitClosed();
    });
    EXPECT_EQ("hdpc failed 200: abc", ToldOf(server.Url()));
}

TEST_F(CurlTransportReply, ASlowBodyThatKeepsComingOutlastsTheLimitOfSilence)
{
    Use({.silenceTimeout = 1s});
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\n");
        for (const char byte : std::string("abcdefgh")) {
            connection.Pause(160ms);
            connection.Send({&byte, 1});
        }
    });
    EXPECT_EQ("hdpc finished 200: abcdefgh", ToldOf(server.Url()));
}

TEST_F(CurlTransportReply, ABodyThatTricklesFailsAtTheEndOfTheWindow)
{
    Use({.lowestSpeed = 1000, .speedWindow = 200ms});
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send(Head + "\r\n");
        while (connection.Send("a"))
            connection.Pause(5ms);
    });
    EXPECT_THAT(ToldOf(server.Url()), MatchesRegex("hdpc failed 200: a+"));
    EXPECT_EQ("less than 1000 bytes a second for 200 ms", Journalled("transfer")["error"]);
}

TEST_F(CurlTransportReply, AHeadThatTricklesFailsAtTheEndOfTheWindow)
{
    Use({.lowestSpeed = 1000, .speedWindow = 200ms});
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send(Head + "X-Mark: ");
        while (connection.Send("a"))
            connection.Pause(5ms);
    });
    EXPECT_EQ("c failed 0: ", ToldOf(server.Url()));
}

TEST_F(CurlTransportReply, ABodyThatKeepsTheLowestSpeedIsTakenToItsEnd)
{
    // 6 bytes a window are asked for, and about 30 come.
    Use({.lowestSpeed = 20, .speedWindow = 300ms});
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send(Head + "Content-Length: 100\r\n\r\n");
        for (int sent = 0; sent < 100; ++sent) {
            connection.Send("a");
            connection.Pause(10ms);
        }
    });
    EXPECT_EQ("hdpc finished 200: " + std::string(100, 'a'), ToldOf(server.Url()));
}

TEST_F(CurlTransportReply, TheLowestSpeedIsAByteASecondOverAMinute)
{
    const CurlTransport::Options options;
    EXPECT_EQ(1U, options.lowestSpeed);
    EXPECT_EQ(1min, options.speedWindow);
}

// ---------------------------------------------------------------------------------------------
// https

TEST_F(CurlTransportReply, HttpsWithATrustedCertificateIsLikeHttp)
{
    const ServerCertificate certificate;
    Trust(certificate);
    RawServer server(RawServer::Once(Reply("abc")), &certificate);
    for (const std::string host : {"127.0.0.1", "localhost"})
        EXPECT_EQ("hdpc finished 200: abc", ToldOf(server.Url("/", host))) << host;
}

TEST_F(CurlTransportReply, HttpsWithACertificateOfNobodyOrAnotherHostFails)
{
    const ServerCertificate certificate;
    RawServer server(RawServer::Once(Reply("abc")), &certificate);
    EXPECT_EQ("c failed 0: ", ToldOf(server.Url())) << "unknown";
    Trust(certificate);
    EXPECT_EQ("c failed 0: ", ToldOf(server.Url("/", "127.0.0.2"))) << "of another host";
    EXPECT_TRUE(server.Requests().empty());
}

TEST_F(CurlTransportReply, HttpsThatEndsWithoutAWordOfTlsHasCutABodyWithoutLengthShort)
{
    const ServerCertificate certificate;
    Trust(certificate);
    struct EndCase {
        std::string reply;
        bool isBrokenOff;
        std::string told;
    };
    const EndCase cases[] = {{Head + "\r\nabc", true, "hdpc failed 200: abc"},
                             {Head + "\r\n", true, "hc failed 200: "},
                             {Head + "\r\nabc", false, "hdpc finished 200: abc"},
                             {Head + "\r\n", false, "hc finished 200: "},
                             {Reply("abc"), true, "hdpc finished 200: abc"},
                             {Chunked + "3\r\nabc\r\n0\r\n\r\n", true, "hdpc finished 200: abc"},
                             {"HTTP/1.1 204 No Content\r\n\r\n", true, "hc finished 204: "}};
    for (const EndCase& end : cases) {
        RawServer server(
            [&end](RawServer::Connection& connection) {
                connection.ReadRequest();
                connection.Send(end.reply);
                if (end.isBrokenOff)
                    connection.BreakOff();
            },
            &certificate);
        EXPECT_EQ(end.told, ToldOf(server.Url())) << end.reply << end.isBrokenOff;
    }
}

TEST_F(CurlTransportReply, AKeptConnectionThatBreaksOffInALaterReplyIsNoticed)
{
    const ServerCertificate certificate;
    Trust(certificate);
    RawServer server(
        [](RawServer::Connection& connection) {
            connection.ReadRequest();
            connection.Send(Reply("abc"));
            connection.ReadRequest();
            connection.Send(Head + "\r\nabc");
            connection.BreakOff();
        },
        &certificate);
    EXPECT_EQ("hdpc finished 200: abc", ToldOf(server.Url()));
    EXPECT_EQ("hdpc failed 200: abc", ToldOf(server.Url()));
    EXPECT_EQ(1, server.Connections());
}
