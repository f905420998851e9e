// Requests with a body.
#include "tests/openhost/http/HttpFixture.h"

#include <gmock/gmock.h>

using namespace openhost;
using namespace openhost::testing;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

class CurlTransportPost : public HttpFixture {
protected:
    static std::string BodyOf(const std::string& request) { return request.substr(request.find("\r\n\r\n") + 4); }
    /// Redirects to "/end" by `status`.
    static RawServer::Script Redirecting(const std::string& status)
    {
        return RawServer::Answering([status](const std::string& request) {
            return PathOf(request) == "/end" ? Reply("end") : Reply("", "Location: /end\r\n", status);
        });
    }
    static Fetch& WithBody(Fetch& fetch, const std::string& body)
    {
        fetch.Request().GetBody().SetContents(body.data(), body.size());
        return fetch;
    }
};

TEST_F(CurlTransportPost, ABodyIsSentAsItIsWithNoHeaderOfTheTransports)
{
    std::string large(10 << 20, '\0');
    for (std::size_t index = 0; index < large.size(); ++index)
        large[index] = static_cast<char>(index * 7 >> 4);
    for (const std::string method : {"POST", "PUT"})
        for (const std::string& body : {std::string(), std::string("a\0\r\n\xFF", 5), large})
            for (const bool isTyped : {true, false}) {
                RawServer server(RawServer::Answering([](const std::string&) { return Reply("taken"); }));
                Fetch fetch(server.Url(), method);
                WithBody(fetch, body);
                if (isTyped)
                    fetch.With("Content-Type", "application/x-test");
                RunWhole(fetch);
                EXPECT_EQ("hdpc finished 200: taken", fetch.Told());
                ASSERT_EQ(1U, server.Requests().size());
                const std::string request = server.Requests()[0];
                EXPECT_TRUE(BodyOf(request) == body) << body.size();
                const std::string head = request.substr(0, request.find("\r\n\r\n") + 2);
                EXPECT_THAT(head, AllOf(StartsWith(method + " / "), Not(HasSubstr("Expect"))));
                EXPECT_EQ(isTyped, head.find("Content-Type: application/x-test\r\n") != std::string::npos);
                EXPECT_EQ(isTyped, head.find("Content-Type") != std::string::npos);
            }
}

TEST_F(CurlTransportPost, ALengthInTheHeadersIsSentOnce)
{
    RawServer server(RawServer::Answering([](const std::string&) { return Reply(""); }));
    Fetch fetch(server.Url(), "POST");
    WithBody(fetch, "12345").With("Content-Length", "5");
    RunWhole(fetch);
    const std::string request = server.Requests().at(0);
    const std::size_t first = request.find("Content-Length: 5\r\n");
    ASSERT_NE(std::string::npos, first);
    EXPECT_EQ(std::string::npos, request.find("Content-Length", first + 1));
    EXPECT_THAT(request, Not(HasSubstr("Transfer-Encoding")));
    EXPECT_EQ("12345", BodyOf(request));
}

TEST_F(CurlTransportPost, ALengthThatIsNotThatOfTheBodyIsRefused)
{
    RawServer server(RawServer::Answering([](const std::string&) { return Reply(""); }));
    for (const char* length : {"4", "6", "05", "", "5 ", "five"}) {
        Fetch fetch(server.Url(), "POST");
        WithBody(fetch, "12345").With("content-length", length);
        EXPECT_FALSE(fetch.Send()) << length;
        EXPECT_EQ("refused", Journalled("transfer")["end"]);
    }
    EXPECT_EQ(0, server.Connections());
}

TEST_F(CurlTransportPost, TheLastBodyThatIsSetIsSent)
{
    RawServer server(RawServer::Answering([](const std::string&) { return Reply(""); }));
    Fetch text(server.Url(), "POST");
    WithBody(text, "first");
    WithBody(text, "second");
    RunWhole(text);
    EXPECT_EQ("second", BodyOf(server.Requests().at(0)));
    Fetch null(server.Url(), "POST");
    WithBody(null, "first");
    null.Request().GetBody().SetContents(nullptr, 7);
    RunWhole(null);
    EXPECT_EQ("", BodyOf(server.Requests().at(1)));
}

TEST_F(CurlTransportPost, ASeeOtherAsksForTheReplyByAGetWithoutABody)
{
    RawServer server(Redirecting("303 See Other"));
    Fetch fetch(server.Url("/start"), "POST");
    WithBody(fetch, "12345").With("Content-Length", "5").With("Content-Type", "text/plain");
    RunWhole(fetch);
    EXPECT_EQ("end", fetch->body);
    const std::string second = server.Requests().at(1);
    EXPECT_THAT(second, StartsWith("GET /end "));
    EXPECT_THAT(second, Not(HasSubstr("Content-")));
    EXPECT_EQ("", BodyOf(second));
}

TEST_F(CurlTransportPost, ATemporaryRedirectRepeatsTheBody)
{
    RawServer server(Redirecting("307 Temporary Redirect"));
    Fetch fetch(server.Url("/start"), "POST");
    WithBody(fetch, "12345").With("Content-Length", "5");
    RunWhole(fetch);
    EXPECT_THAT(server.Requests().at(1), StartsWith("POST /end "));
    EXPECT_EQ("12345", BodyOf(server.Requests().at(1)));
}

TEST_F(CurlTransportPost, ABodyThatNobodyTakesCanBeCancelled)
{
    RawServer server([](RawServer::Connection& connection) { connection.AwaitTold(); });
    Fetch fetch(server.Url(), "POST");
    WithBody(fetch, std::string(64 << 20, 'x'));
    ASSERT_TRUE(fetch.Send());
    Loop().RunUntil([&] { return server.Connections() > 0; }, std::chrono::seconds(10));
    fetch.Request().Cancel();
    RunToItsEnd(fetch);
    EXPECT_EQ("c cancelled 0: ", fetch.Told());
}

TEST_F(CurlTransportPost, AReplyMayComeBeforeTheBodyWasRead)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.Send(Reply("too large", "Connection: close\r\n", "413 Content Too Large"));
        connection.AwaitClosed();
    });
    Fetch fetch(server.Url(), "POST");
    WithBody(fetch, std::string(8 << 20, 'x'));
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 413: too large", fetch.Told());
}

} // namespace
