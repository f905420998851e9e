#include "ServiceTest.h"

#include "catalogue/service/UploadedShape.h"

#include <gmock/gmock.h>

#include <deque>
#include <future>

namespace catalogue::testing {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// What clients that are slow, greedy or hostile can do.
class LimitedServerTest : public ServiceTest {
protected:
    /// Runs the service with these limits from now on.
    void Use(const ServiceLimits& limits, const CatalogueService::Log& log = {})
    {
        service_ = std::make_unique<CatalogueService>(root_, log, limits);
        service_->Start();
        client_ = std::make_unique<httplib::Client>("127.0.0.1", service_->GetPort());
        client_->set_read_timeout(30s);
    }

    /// A request whose head has `size` bytes, in lines that are no matter.
    static std::string RequestOf(std::size_t size)
    {
        std::string head = "GET /items HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
        while (head.size() + 2000 < size)
            head += "X-Mark: " + std::string(990, 'a') + "\r\n";
        head += "X-Mark: ";
        return head + std::string(size - head.size() - 4, 'a') + "\r\n\r\n";
    }

    std::string Upload(const std::string& headers)
    {
        return Exchange("POST /upload HTTP/1.1\r\n" + headers +
                        "Connection: close\r\nContent-Type: text/plain\r\nContent-Length: 1\r\n\r\nx")
            .substr(0, 12);
    }
};

// ---------------------------------------------------------------------------------------------
// Heads and bodies

TEST_F(LimitedServerTest, AHeadHasAtMost64Kibibytes)
{
    EXPECT_THAT(Exchange(RequestOf(ServiceLimits::MaximumHeadSize)), StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(Exchange(RequestOf(ServiceLimits::MaximumHeadSize + 1)), StartsWith("HTTP/1.1 431"));
    EXPECT_THAT(Exchange(std::string(ServiceLimits::MaximumHeadSize + 1, 'a')), StartsWith("HTTP/1.1 431"));
}

TEST_F(LimitedServerTest, AHeadThatTricklesIsRefusedInTime)
{
    Use({.headTime = 200ms});
    const RawConnection slow(service_->GetPort());
    slow.Send("GET /items HTTP/1.1\r\nHost: ");
    EXPECT_THAT(slow.ReadAll(), StartsWith("HTTP/1.1 408"));
}

TEST_F(LimitedServerTest, AConnectionWithoutARequestIsClosedWithoutAWord)
{
    Use({.headTime = 200ms});
    const RawConnection silent(service_->GetPort());
    EXPECT_EQ("", silent.ReadAll());
}

TEST_F(LimitedServerTest, ABodyThatDoesNotComeIsRefusedInTime)
{
    Use({.bodyTime = 200ms});
    const RawConnection slow(service_->GetPort());
    slow.Send("POST /upload HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000\r\n\r\nabc");
    EXPECT_THAT(slow.ReadAll(), StartsWith("HTTP/1.1 400"));
}

TEST_F(LimitedServerTest, ABodyHasAtMostTheSizeOfAnUploadAndItsForm)
{
    const auto codeOf = [&](std::size_t size) {
        return Exchange("POST /upload HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nContent-Type: text/plain\r\n"
                        "Content-Length: " +
                        std::to_string(size) + "\r\n\r\n" + std::string(size, 'a'))
            .substr(0, 12);
    };
    const std::size_t most = MaximumUploadSize + (64 << 10);
    EXPECT_EQ("HTTP/1.1 400", codeOf(most)) << "it is no form, but it was read";
    EXPECT_EQ("HTTP/1.1 413", codeOf(most + 1));
}

TEST_F(LimitedServerTest, AReplyThatNobodyTakesIsGivenUpInTime)
{
    WriteFile("files/large.zip", std::string(16 << 20, 'z'));
    std::promise<void> answered;
    Use({.writeTime = 200ms}, [&](const std::string&) { answered.set_value(); });
    const RawConnection unread(service_->GetPort());
    unread.Send("GET /files/large.zip HTTP/1.1\r\nHost: localhost\r\n\r\n");
    ASSERT_EQ(std::future_status::ready, answered.get_future().wait_for(60s));
    EXPECT_LT(unread.ReadAll().size(), std::size_t{16} << 20);
    service_.reset();
}

TEST_F(LimitedServerTest, AConnectionWithoutAnotherRequestIsClosedAfterItsReply)
{
    Use({.headTime = 60s, .idleTime = 100ms});
    const RawConnection idle(service_->GetPort());
    idle.Send("GET /items HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const std::string replies = idle.ReadAll();
    EXPECT_THAT(replies, StartsWith("HTTP/1.1 200"));
    EXPECT_EQ(0U, replies.rfind("HTTP/1.1 ")) << replies;
}

TEST_F(LimitedServerTest, RequestsOfOneConnectionAreAnsweredInTheirOrder)
{
    const std::string replies = Exchange("GET /items HTTP/1.1\r\nHost: localhost\r\n\r\n"
                                         "GET /nothing HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(replies, StartsWith("HTTP/1.1 200"));
    EXPECT_THAT(replies, HasSubstr("HTTP/1.1 404"));
}

TEST_F(LimitedServerTest, ABodyThatNobodyReadsIsNoRequest)
{
    const std::string hidden = "GET /items HTTP/1.1\r\nHost: localhost\r\n\r\n";
    for (const std::string method : {"GET", "POST", "DELETE"}) {
        const std::string replies = Exchange(method + " /nothing HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                                             std::to_string(hidden.size()) + "\r\n\r\n" + hidden);
        EXPECT_THAT(replies, StartsWith("HTTP/1.1 404")) << method;
        EXPECT_EQ(0U, replies.rfind("HTTP/1.1 ")) << replies;
    }
}

// ---------------------------------------------------------------------------------------------
// Who may upload

TEST_F(LimitedServerTest, AnUploadByAPageOfAnotherSiteIsRefused)
{
    const std::string port = std::to_string(service_->GetPort());
    const std::string host = "Host: 127.0.0.1:" + port + "\r\n";
    const std::string own = "Origin: http://127.0.0.1:" + port + "\r\n";
    for (const std::string& origin :
         {std::string("Origin: http://velmart.example\r\n"), std::string("Origin: null\r\n"),
          std::string("Origin: http://127.0.0.1\r\n"), "Origin: http://localhost:" + port + "\r\n",
          "Origin: https://127.0.0.1:" + port + "\r\n", "Origin: http://127.0.0.1:" + port + ".example\r\n",
          own + "Origin: http://velmart.example\r\n"})
        EXPECT_EQ("HTTP/1.1 403", Upload(host + origin)) << origin;
    EXPECT_EQ("HTTP/1.1 400", Upload(host + own)) << "it is no form, but it was looked at";
    EXPECT_EQ("HTTP/1.1 400", Upload(host)) << "a program";
}

// ---------------------------------------------------------------------------------------------
// Many connections

TEST_F(LimitedServerTest, SlowAndUnreadConnectionsDoNotHoldUpANewRequest)
{
    WriteFile("files/large.zip", std::string(16 << 20, 'z'));
    client_->set_read_timeout(5s); // the slow ones have 10 for their heads, and the unread ones 60
    std::deque<RawConnection> connections;
    for (int number = 0; number < 130; ++number) {
        connections.emplace_back(service_->GetPort());
        connections.back().Send(number < 100 ? "GET /items HTTP/1.1\r\nX-Slow: "
                                             : "GET /files/large.zip HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }
    EXPECT_EQ(200, GetCode("/items"));
}

TEST_F(LimitedServerTest, ConnectionsBeyondTheLimitWaitForTheirTurn)
{
    Use({.headTime = 500ms});
    std::deque<RawConnection> connections;
    for (std::size_t number = 0; number < ServiceLimits::MaximumConnections + 10; ++number) {
        connections.emplace_back(service_->GetPort());
        connections.back().Send("GET /items HTTP/1.1\r\nX-Slow: ");
    }
    EXPECT_EQ(200, GetCode("/items"));
}

TEST_F(LimitedServerTest, UploadsBeyondTheLimitWaitForTheirTurn)
{
    Use({.bodyTime = 1s});
    std::deque<RawConnection> connections;
    for (std::ptrdiff_t number = 0; number < ServiceLimits::MaximumBodies; ++number) {
        connections.emplace_back(service_->GetPort());
        connections.back().Send("POST /upload HTTP/1.1\r\nHost: localhost\r\nContent-Length: 9\r\n\r\n");
    }
    EXPECT_EQ(200, GetCode("/items"));
    const std::string code = Upload("Host: localhost\r\n");
    EXPECT_TRUE(code == "HTTP/1.1 400" || code == "HTTP/1.1 503") << code;
    for (const RawConnection& connection : connections)
        EXPECT_THAT(connection.ReadAll(), StartsWith("HTTP/1.1 400"));
    EXPECT_EQ("HTTP/1.1 400", Upload("Host: localhost\r\n"));
}

TEST_F(LimitedServerTest, AStopDoesNotWaitForClientsThatDoNothing)
{
    WriteFile("files/large.zip", std::string(16 << 20, 'z'));
    std::deque<RawConnection> connections;
    for (const std::string request : {"", "GET /items HTTP/1.1\r\nX-Slow: ",
                                      "POST /upload HTTP/1.1\r\nHost: localhost\r\nContent-Length: 9\r\n\r\n",
                                      "GET /files/large.zip HTTP/1.1\r\nHost: localhost\r\n\r\n"}) {
        connections.emplace_back(service_->GetPort());
        connections.back().Send(request);
    }
    EXPECT_EQ(200, GetCode("/items"));
    const auto start = std::chrono::steady_clock::now();
    service_->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s);
}

} // namespace catalogue::testing
