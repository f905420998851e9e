// Replies of every kind over real sockets.
#include "tests/openhost/http/HttpFixture.h"

#include <gmock/gmock.h>

using namespace openhost;
using namespace openhost::testing;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::StartsWith;

namespace {
// "hello hello hello hello hello hello"
constexpr unsigned char gzipBytes[] = {0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03,
                                       0xcb, 0x48, 0xcd, 0xc9, 0xc9, 0x57, 0xc8, 0xc0, 0x47, 0x02,
                                       0x00, 0x57, 0x37, 0x62, 0x85, 0x23, 0x00, 0x00, 0x00};
const std::string gzipBody(reinterpret_cast<const char*>(gzipBytes), sizeof gzipBytes);
const std::string plainBody = "hello hello hello hello hello hello";

class CurlTransportReply : public HttpFixture {};
} // namespace

// ---------------------------------------------------------------------------------------------
// Replies that end well

TEST_F(CurlTransportReply, AWholeReplyComesAsHeadersThenDataThenOneCompletion)
{
    RawServer server(RawServer::Once(Reply("abc", "Content-Type: text/plain\r\n")));
    Fetch fetch(server.Url("/a?b=c"));
    RunWhole(fetch);
    EXPECT_EQ("hdpc", fetch->Shape());
    EXPECT_EQ("abc", fetch->body);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
    EXPECT_EQ(200, fetch->code);
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

TEST_F(CurlTransportReply, AnEmptyBodyHasHeadersAndNoData)
{
    RawServer server(RawServer::Once(Reply("", "X-Mark: 1\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hc", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
}

TEST_F(CurlTransportReply, ACode204HasHeadersAndNoData)
{
    RawServer server(RawServer::Once("HTTP/1.1 204 No Content\r\n\r\n"));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hc", fetch->calls);
    EXPECT_EQ(204, fetch->code);
    EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
}

TEST_F(CurlTransportReply, AnErrorCodeDeliversItsBodyAndARefusedResponse)
{
    for (const std::string status :
         {"404 Not Found", "500 Internal Server Error", "401 Unauthorized", "304 Not Modified"}) {
        const std::string body = status.starts_with("304") ? "" : R"({"error":1})";
        RawServer server(RawServer::Once(Reply(body, "Content-Type: application/json\r\n", status)));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ(body, fetch->body) << status;
        EXPECT_EQ(ZALHttpStatusFinished, fetch->status) << status;
        EXPECT_EQ(ZALHttpResponseRefused, fetch->state) << status;
        EXPECT_EQ(std::stoi(status), fetch->code);
    }
}

TEST_F(CurlTransportReply, AReplyWithoutLengthEndsWithTheConnectionAndHasNoTotal)
{
    RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\n\r\nabcdef"));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("abcdef", fetch->body);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_THAT(fetch->progress.back(), Pair(6, 0));
}

TEST_F(CurlTransportReply, AChunkedReplyIsPutTogetherAndItsTrailersAreNoHeaders)
{
    RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                     "3;name=value\r\nabc\r\n4\r\ndefg\r\n0\r\nX-Trailer: late\r\n\r\n"));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("abcdefg", fetch->body);
    EXPECT_EQ("hdpc", fetch->Shape());
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
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
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("abc", fetch->body);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
}

TEST_F(CurlTransportReply, BytesBeyondTheAnnouncedLengthAreDropped)
{
    RawServer server(RawServer::Once(Reply("abc") + "HTTP/1.1 200 OK\r\n\r\nmore"));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("abc", fetch->body);
    EXPECT_EQ(1, fetch->completions);
}

TEST_F(CurlTransportReply, InterimRepliesAreNotDelivered)
{
    RawServer server(RawServer::Once("HTTP/1.1 100 Continue\r\nX-Interim: 1\r\n\r\n"
                                     "HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n" +
                                     Reply("abc", "X-Final: 1\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hdpc", fetch->Shape());
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("Content-Length", "3"), Pair("X-Final", "1")));
}

TEST_F(CurlTransportReply, TheReplyToHeadHasNoBodyAndCountsAsWhole)
{
    RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n"));
    Fetch fetch(server.Url(), "HEAD");
    RunWhole(fetch);
    EXPECT_EQ("hc", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_THAT(server.Requests().at(0), StartsWith("HEAD / HTTP/1.1\r\n"));
}

// ---------------------------------------------------------------------------------------------
// Headers

TEST_F(CurlTransportReply, HeadersAreOrderedByNameAndKeepTheOrderOfTheirValues)
{
    RawServer server(RawServer::Once(Reply("", "x-b: 2\r\nX-A: 1\r\nX-B:   3  \r\nx-B:\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("Content-Length", "0"), Pair("X-A", "1"), Pair("x-b", "2"),
                                            Pair("X-B", "3"), Pair("x-B", "")));
}

TEST_F(CurlTransportReply, HeaderValuesAreUtf8OrElseLatin1)
{
    RawServer server(RawServer::Once(Reply("", "X-A: \xC3\xA4\r\nX-B: \xE4\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_THAT(fetch->headers,
                ElementsAre(Pair("Content-Length", "0"), Pair("X-A", "\xC3\xA4"), Pair("X-B", "\xC3\xA4")));
}

TEST_F(CurlTransportReply, AFoldedHeaderIsOneValue)
{
    RawServer server(RawServer::Once(Reply("", "X-A: 1\r\n  2\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("Content-Length", "0"), Pair("X-A", "1 2")));
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
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("c", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
    EXPECT_EQ("the head of the reply is too long", Journalled("transfer")["error"]);
}

TEST_F(CurlTransportReply, ALongHeadBelowTheLimitIsDelivered)
{
    std::string headers;
    for (int number = 0; number < 200; ++number)
        headers += "X-" + std::to_string(number) + ": " + std::string(1000, 'a') + "\r\n";
    RawServer server(RawServer::Once(Reply("abc", headers)));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_EQ(201U, fetch->headers.size());
}

// ---------------------------------------------------------------------------------------------
// Encoded bodies

TEST_F(CurlTransportReply, AGzipBodyIsDecodedAndHasNoTotal)
{
    RawServer server(RawServer::Once(Reply(gzipBody, "Content-Encoding: gzip\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ(plainBody, fetch->body);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_THAT(fetch->progress.back(), Pair(plainBody.size(), 0));
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("Content-Encoding", "gzip"), Pair("Content-Length", "29")));
    EXPECT_THAT(server.Requests().at(0), HasSubstr("Accept-Encoding: gzip, deflate\r\n"));
}

TEST_F(CurlTransportReply, AnAcceptEncodingOfTheRequestLeavesTheBodyAsItCame)
{
    RawServer server(RawServer::Once(Reply(gzipBody, "Content-Encoding: gzip\r\n")));
    Fetch fetch(server.Url());
    fetch.With("accept-encoding", "gzip");
    RunWhole(fetch);
    EXPECT_EQ(gzipBody, fetch->body);
    EXPECT_THAT(fetch->progress.back(), Pair(gzipBody.size(), gzipBody.size()));
}

TEST_F(CurlTransportReply, ADamagedGzipBodyFails)
{
    std::string damaged = gzipBody;
    damaged.replace(10, 8, 8, '\xFF');
    RawServer server(RawServer::Once(Reply(damaged, "Content-Encoding: gzip\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
}

TEST_F(CurlTransportReply, ABodyInAnUnknownEncodingFails)
{
    RawServer server(RawServer::Once(Reply("abc", "Content-Encoding: unheard-of\r\n")));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
    EXPECT_EQ("", fetch->body);
}

// ---------------------------------------------------------------------------------------------
// Replies that do not end well

TEST_F(CurlTransportReply, ABodyShorterThanItsLengthFails)
{
    for (const std::size_t sent : {0U, 1U, 999U}) {
        RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + std::string(sent, 'a')));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ(ZALHttpStatusFailed, fetch->status) << sent;
        EXPECT_EQ(sent, fetch->body.size());
        EXPECT_EQ(sent > 0 ? "hdpc" : "hc", fetch->Shape());
        EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
    }
}

TEST_F(CurlTransportReply, AChunkedBodyWithoutItsEndFails)
{
    for (const std::string body : {"", "5\r\nabc", "3\r\nabc\r\n", "3\r\nabc\r\n0\r\n", "zz\r\nabc\r\n0\r\n\r\n"}) {
        RawServer server(RawServer::Once("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + body));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ(ZALHttpStatusFailed, fetch->status) << body;
    }
}

TEST_F(CurlTransportReply, AConnectionThatIsClosedInsideTheHeadFailsWithoutHeaders)
{
    for (const std::string head :
         {"", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Le", "HTTP/1.1 100 Continue\r\n\r\n"}) {
        RawServer server(RawServer::Once(head));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ("c", fetch->calls) << head;
        EXPECT_EQ(ZALHttpStatusFailed, fetch->status) << head;
        EXPECT_EQ(0, fetch->state);
    }
}

TEST_F(CurlTransportReply, AReplyThatIsNoHttpFails)
{
    for (const std::string reply : {"SSH-2.0-server\r\n", "\r\n\r\n", "<html></html>", "HTTP/1.1 abc\r\n\r\n"}) {
        RawServer server(RawServer::Once(reply));
        Fetch fetch(server.Url());
        RunWhole(fetch);
        EXPECT_EQ(ZALHttpStatusFailed, fetch->status) << reply;
        EXPECT_EQ("", fetch->body) << reply;
    }
}

TEST_F(CurlTransportReply, AConnectionThatIsResetBeforeTheHeadFails)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Reset();
    });
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("c", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
}

TEST_F(CurlTransportReply, AConnectionThatIsResetInTheBodyFails)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\n\r\nabc");
        connection.AwaitTold();
        connection.Reset();
    });
    Fetch fetch(server.Url());
    fetch->onData = [&](ZALCefHttpRequest*) { server.Tell(); };
    RunWhole(fetch);
    EXPECT_EQ("hdpc", fetch->Shape());
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
}

TEST_F(CurlTransportReply, AServerThatIsNotThereFails)
{
    std::string url;
    {
        RawServer server(RawServer::Once(""));
        url = server.Url();
    }
    Fetch fetch(url);
    RunWhole(fetch);
    EXPECT_EQ("c", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
}

TEST_F(CurlTransportReply, SilenceBeforeTheHeadFailsAtTheLimit)
{
    Use({.silenceTimeout = 100ms});
    RawServer server([](RawServer::Connection& connection) { connection.AwaitClosed(); });
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("c", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
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
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hdpc", fetch->Shape());
    EXPECT_EQ("abc", fetch->body);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
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
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("abcdefgh", fetch->body);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
}

// ---------------------------------------------------------------------------------------------
// https

TEST_F(CurlTransportReply, HttpsWithATrustedCertificateIsLikeHttp)
{
    const ServerCertificate certificate;
    const TemporaryFolder folder;
    const auto file = folder.Path() / "authority.pem";
    std::ofstream(file) << certificate.certificate;
    Use({.caFile = file});
    RawServer server(RawServer::Once(Reply("abc")), &certificate);
    for (const std::string host : {"127.0.0.1", "localhost"}) {
        Fetch fetch(server.Url("/", host));
        RunWhole(fetch);
        EXPECT_EQ("hdpc", fetch->Shape());
        EXPECT_EQ("abc", fetch->body);
        EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    }
}

TEST_F(CurlTransportReply, HttpsWithAnUnknownCertificateFailsBeforeTheRequest)
{
    const ServerCertificate certificate;
    RawServer server(RawServer::Once(Reply("abc")), &certificate);
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("c", fetch->calls);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
    EXPECT_TRUE(server.Requests().empty());
}

TEST_F(CurlTransportReply, HttpsWithACertificateForAnotherHostFails)
{
    const ServerCertificate certificate;
    const TemporaryFolder folder;
    const auto file = folder.Path() / "authority.pem";
    std::ofstream(file) << certificate.certificate;
    Use({.caFile = file});
    RawServer server(RawServer::Once(Reply("abc")), &certificate);
    Fetch fetch(server.Url("/", "127.0.0.2"));
    RunWhole(fetch);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
    EXPECT_TRUE(server.Requests().empty());
}

TEST_F(CurlTransportReply, HttpsCutOffInABodyWithoutLengthFails)
{
    const ServerCertificate certificate;
    const TemporaryFolder folder;
    const auto file = folder.Path() / "authority.pem";
    std::ofstream(file) << certificate.certificate;
    Use({.caFile = file});
    RawServer server(
        [](RawServer::Connection& connection) {
            connection.ReadRequest();
            connection.Send("HTTP/1.1 200 OK\r\n\r\nabc");
            connection.AwaitTold();
            connection.Reset();
        },
        &certificate);
    Fetch fetch(server.Url());
    fetch->onData = [&](ZALCefHttpRequest*) { server.Tell(); };
    RunWhole(fetch);
    EXPECT_EQ("abc", fetch->body);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
}
