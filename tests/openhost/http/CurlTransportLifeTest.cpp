// Cancelling, destroying and nesting, at every moment of a transfer.
#include "tests/openhost/http/HttpFixture.h"

#include <gmock/gmock.h>

using namespace openhost;
using namespace openhost::testing;
using namespace std::chrono_literals;

namespace {
class CurlTransportLife : public HttpFixture {
protected:
    /// Runs until `done`, which comes from another thread and wakes no loop.
    static void RunWhilePosting(const std::function<bool()>& done)
    {
        const auto asked = [&] {
            Loop().Post([] {});
            return done();
        };
        EXPECT_EQ(RunEnd::Done, Loop().RunUntil(asked, 60s));
    }
};

// The head and a first piece of the body; the rest when told.
void SendInTwo(RawServer::Connection& connection)
{
    connection.ReadRequest();
    connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nabc");
    connection.AwaitTold();
    connection.Send("def");
}
} // namespace

// ---------------------------------------------------------------------------------------------
// Cancel

TEST_F(CurlTransportLife, CancelOrDestructionBeforeTheLoopRunsEndsFromTheLoop)
{
    RawServer server(RawServer::Once(Reply("abc")));
    for (const bool isDestroyed : {false, true}) {
        Fetch fetch(server.Url());
        ASSERT_TRUE(fetch.Send());
        if (isDestroyed) {
            fetch.DestroyRequest();
        } else {
            fetch.Request().Cancel();
            EXPECT_EQ(ZALHttpStatusCancelled, fetch.Request().GetStatus());
        }
        EXPECT_EQ("", fetch->calls);
        RunToItsEnd(fetch);
        EXPECT_EQ(isDestroyed ? "c ended 0: " : "c cancelled 0: ", fetch.Told());
        EXPECT_EQ("cancelled", Journalled("transfer")["end"]);
        EXPECT_EQ(4, Journalled("transfer")["status"]);
    }
}

TEST_F(CurlTransportLife, CancelBeforeTheHeadEndsAsCancelledAndClosesTheConnection)
{
    std::atomic<bool> closed = false;
    RawServer server([&](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.AwaitClosed();
        closed = true;
    });
    Fetch fetch(server.Url());
    ASSERT_TRUE(fetch.Send());
    RunWhilePosting([&] { return !server.Requests().empty(); });
    fetch.Request().Cancel();
    RunToItsEnd(fetch);
    EXPECT_EQ("c cancelled 0: ", fetch.Told());
    RunWhilePosting([&] { return closed.load(); });
}

TEST_F(CurlTransportLife, CancelBetweenTwoPiecesOfTheBodyEndsAsCancelled)
{
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    ASSERT_TRUE(fetch.Send());
    ASSERT_EQ(RunEnd::Done, Loop().RunUntil([&] { return fetch->body == "abc"; }, 60s));
    fetch.Request().Cancel();
    server.Tell();
    RunToItsEnd(fetch);
    EXPECT_EQ("hdpc cancelled 200: abc", fetch.Told());
    EXPECT_EQ(ZALHttpResponseSucceeded, fetch->state);
}

TEST_F(CurlTransportLife, CancelOrDestructionInsideACallEndsWithoutFurtherData)
{
    for (const char call : {'h', 'd', 'p'})
        for (const bool isDestroyed : {false, true}) {
            RawServer server(RawServer::Once(Reply(std::string(1'000'000, 'a'))));
            Fetch fetch(server.Url());
            fetch->On(call) = [&](ZALCefHttpRequest* request) {
                if (isDestroyed) {
                    fetch.DestroyRequest();
                } else {
                    request->Cancel();
                    request->Cancel();
                    EXPECT_EQ(ZALHttpStatusCancelled, request->GetStatus());
                }
                EXPECT_FALSE(fetch->IsComplete());
            };
            RunWhole(fetch);
            EXPECT_EQ(CallsUpTo(call) + "c", fetch->calls);
            EXPECT_EQ(isDestroyed ? -2 : ZALHttpStatusCancelled, fetch->status);
        }
}

TEST_F(CurlTransportLife, CancelAfterTheEndChangesNothing)
{
    RawServer server(RawServer::Once(Reply("abc")));
    Fetch fetch(server.Url());
    fetch.Request().Cancel();
    EXPECT_EQ(ZALHttpStatusUnsent, fetch.Request().GetStatus());
    fetch->onComplete = [](ZALCefHttpRequest* request) { request->Cancel(); };
    RunWhole(fetch);
    fetch.Request().Cancel();
    EXPECT_EQ(ZALHttpStatusFinished, fetch.Request().GetStatus());
    ExpectOver(fetch);
}

TEST_F(CurlTransportLife, CancelBetweenTheLastByteAndTheCompletionEndsAsCancelled)
{
    RawServer server(RawServer::Once(Reply("abc")));
    Fetch fetch(server.Url());
    fetch->onProgress = [&](ZALCefHttpRequest* request) { Loop().Post([request] { request->Cancel(); }); };
    RunWhole(fetch);
    EXPECT_EQ("hdpc cancelled 200: abc", fetch.Told());
}

TEST_F(CurlTransportLife, ATransferCancelledJustAfterItsEndEndsAsCancelled)
{
    struct Listener final : HttpTransferListener {
        void OnHead(int, const HttpHeaders&) override {}
        void OnBytes(const char*, std::size_t) override {}
        void OnProgress(std::uint64_t, std::uint64_t) override
        {
            EventLoop::Current().Post([this] { transfer->Cancel(); });
        }
        void OnEnd(TransferEnd end, const std::string&) override { ends.push_back(end); }
        std::unique_ptr<HttpTransfer> transfer;
        std::vector<TransferEnd> ends;
    };
    RawServer server(RawServer::Once(Reply("abc")));
    Listener listener;
    listener.transfer =
        HttpTransport::Current().Start({.method = "GET", .url = server.Url(), .headers = {}, .body = {}}, listener);
    ASSERT_TRUE(listener.transfer);
    Loop().RunUntilIdle(60s);
    EXPECT_EQ(std::vector{TransferEnd::Cancelled}, listener.ends);
}

// ---------------------------------------------------------------------------------------------
// Destroying the request

TEST_F(CurlTransportLife, ARequestDestroyedBeforeItIsSentCallsNothing)
{
    Fetch fetch("http://127.0.0.1:9/");
    fetch.DestroyRequest();
    EXPECT_EQ(RunEnd::Idle, Loop().RunUntilIdle());
    EXPECT_EQ("", fetch->calls);
}

TEST_F(CurlTransportLife, ARequestMayBeDestroyedInsideOnCompleteAfterAnyEnd)
{
    RawServer whole(RawServer::Once(Reply("abc")));
    RawServer cut(RawServer::Once("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc"));
    const std::vector<std::pair<std::string, int>> cases = {
        {whole.Url(), ZALHttpStatusFinished}, {cut.Url(), ZALHttpStatusFailed}, {"", ZALHttpStatusCancelled}};
    for (const auto& [url, status] : cases) {
        Fetch fetch(url.empty() ? whole.Url() : url);
        fetch->onComplete = [&](ZALCefHttpRequest*) { fetch.DestroyRequest(); };
        ASSERT_TRUE(fetch.Send());
        if (status == ZALHttpStatusCancelled)
            fetch.Request().Cancel();
        RunToItsEnd(fetch);
        EXPECT_EQ(status, fetch->status);
    }
}

TEST_F(CurlTransportLife, ACompletionMayStartTheNextRequest)
{
    RawServer server(RawServer::Answering([](const std::string& request) { return Reply(PathOf(request)); }));
    Fetch first(server.Url("/a"));
    Fetch second(server.Url("/b"));
    first->onComplete = [&](ZALCefHttpRequest*) {
        first.DestroyRequest();
        EXPECT_TRUE(second.Send());
    };
    ASSERT_TRUE(first.Send());
    Complete(second);
    ExpectOver(first);
    ExpectOver(second);
    EXPECT_EQ("/b", second->body);
}

TEST_F(CurlTransportLife, AHandlerThatItsOwnerHoldsOutlivesTheTransfer)
{
    RawServer server(RawServer::Once(Reply("abc")));
    Recording recording;
    auto* handler = new RecordingHandler(recording);
    auto* request = new ZALCefHttpRequest("GET", FromUtf8(server.Url()));
    ASSERT_TRUE(request->Send(handler));
    Loop().RunUntil([&] { return recording.IsComplete(); }, 60s);
    Loop().RunUntilIdle(60s);
    EXPECT_EQ(1, recording.handlers);
    request->Release();
    handler->Release();
    EXPECT_EQ(0, recording.handlers);
}

TEST_F(CurlTransportLife, ATransferOutlivesItsTransport)
{
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    ASSERT_TRUE(fetch.Send());
    Loop().RunUntil([&] { return fetch->body == "abc"; }, 60s);
    Use({});
    server.Tell();
    RunToItsEnd(fetch);
    EXPECT_EQ("hdpc finished 200: abcdef", fetch.Told());
}

TEST_F(CurlTransportLife, ALoopThatEndsBeforeATransferLeavesItWithoutHarm)
{
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    ASSERT_TRUE(fetch.Send());
    Loop().RunUntil([&] { return fetch->body == "abc"; }, 60s);
    EventLoop::Install(std::make_unique<PollEventLoop>());
    fetch.DestroyRequest();
    RunToItsEnd(fetch);
    EXPECT_EQ(-2, fetch->status);
}

// ---------------------------------------------------------------------------------------------
// Several transfers, and runs of the loop inside calls

TEST_F(CurlTransportLife, TwoTransfersRunAtOnce)
{
    RawServer slow(SendInTwo);
    RawServer fast(RawServer::Once(Reply("fast")));
    Fetch first(slow.Url());
    Fetch second(fast.Url());
    ASSERT_TRUE(first.Send());
    ASSERT_TRUE(second.Send());
    Complete(second);
    EXPECT_FALSE(first->IsComplete());
    slow.Tell();
    RunToItsEnd(first);
    ExpectOver(second);
    EXPECT_EQ("abcdef", first->body);
    EXPECT_EQ("fast", second->body);
}

TEST_F(CurlTransportLife, ManyTransfersRunAtOnceAndEndEachForItself)
{
    RawServer server(RawServer::Answering([](const std::string& request) { return Reply(PathOf(request)); }));
    std::vector<std::unique_ptr<Fetch>> fetches;
    for (int number = 0; number < 30; ++number) {
        fetches.push_back(std::make_unique<Fetch>(server.Url("/" + std::to_string(number))));
        ASSERT_TRUE(fetches.back()->Send());
    }
    EXPECT_EQ(RunEnd::Idle, Loop().RunUntilIdle(60s));
    for (int number = 0; number < 30; ++number) {
        Fetch& fetch = *fetches[static_cast<std::size_t>(number)];
        ExpectOver(fetch);
        EXPECT_EQ("/" + std::to_string(number), fetch->body);
    }
}

TEST_F(CurlTransportLife, ARunInsideACallLetsOtherTransfersGoOnAndItsOwnWait)
{
    for (const char call : {'h', 'd', 'p', 'c'}) {
        RawServer slow(SendInTwo);
        RawServer fast(RawServer::Answering([](const std::string&) { return Reply(std::string(2'000'000, 'a')); }));
        Fetch first(slow.Url());
        Fetch second(fast.Url());
        int depth = 0;
        first->On(call) = [&](ZALCefHttpRequest*) {
            ++depth;
            EXPECT_EQ(1, depth);
            if (!second->IsComplete()) {
                const std::string before = first->calls;
                EXPECT_TRUE(second.Send());
                slow.Tell();
                Complete(second);
                EXPECT_EQ(before, first->calls);
            }
            --depth;
        };
        ASSERT_TRUE(first.Send());
        if (call == 'c')
            slow.Tell();
        RunToItsEnd(first);
        ExpectOver(second);
        EXPECT_EQ("abcdef", first->body);
        EXPECT_EQ(2'000'000U, second->body.size());
        EXPECT_EQ(ZALHttpStatusFinished, first->status);
    }
}

TEST_F(CurlTransportLife, ARunInsideACallDoesNotTakeBytesOfTheCallersOwnTransfer)
{
    RawServer server(RawServer::Once(Reply(std::string(3'000'000, 'a'))));
    Use({.silenceTimeout = 1min});
    Fetch fetch(server.Url());
    int runs = 0;
    fetch->onData = [&](ZALCefHttpRequest*) {
        ++runs;
        if (runs == 3) {
            EXPECT_EQ(RunEnd::TimedOut, Loop().RunUntilIdle(50ms));
        }
    };
    RunWhole(fetch);
    EXPECT_EQ(3'000'000U, fetch->body.size());
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
}

TEST_F(CurlTransportLife, BytesOfARunInsideACallAndThoseAfterItKeepTheirOrder)
{
    // The last bytes come when libcurl has no timer left that would look at the socket by itself.
    Use({.silenceTimeout = 5s});
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc");
        connection.AwaitTold();
        connection.Send("def");
        connection.AwaitTold();
        connection.Send("ghi");
    });
    Fetch fetch(server.Url());
    fetch->onData = [&](ZALCefHttpRequest*) {
        if (fetch->body == "abc") {
            server.Tell();
            Loop().RunUntilIdle(50ms);
        }
        if (fetch->body == "abcdef")
            Loop().CallAfter(400ms, [&] { server.Tell(); });
    };
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abcdefghi", fetch.Told());
}

TEST_F(CurlTransportLife, CancelFromARunInsideACallCompletesAfterThatCall)
{
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    bool inside = false;
    fetch->onData = [&](ZALCefHttpRequest* request) {
        inside = true;
        Loop().Post([request] { request->Cancel(); });
        Loop().RunUntil([&] { return request->GetStatus() == ZALHttpStatusCancelled; }, 60s);
        inside = false;
    };
    fetch->onComplete = [&](ZALCefHttpRequest*) { EXPECT_FALSE(inside); };
    RunWhole(fetch);
    EXPECT_EQ("hdc", fetch->calls);
    EXPECT_EQ(ZALHttpStatusCancelled, fetch->status);
}

TEST_F(CurlTransportLife, DestroyingTheRequestFromARunInsideACallIsSafe)
{
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    fetch->onHeaders = [&](ZALCefHttpRequest*) {
        bool destroyed = false;
        Loop().Post([&] {
            fetch.DestroyRequest();
            destroyed = true;
        });
        Loop().RunUntil([&] { return destroyed; }, 60s);
    };
    RunWhole(fetch);
    EXPECT_EQ("hc ended 0: ", fetch.Told());
}

TEST_F(CurlTransportLife, TimeSpentInsideACallIsNotSilence)
{
    Use({.silenceTimeout = 200ms});
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    fetch->onData = [&](ZALCefHttpRequest*) {
        if (fetch->body != "abc")
            return;
        bool over = false;
        Loop().CallAfter(500ms, [&] { over = true; });
        Loop().RunUntil([&] { return over; }, 60s);
        server.Tell();
    };
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abcdef", fetch.Told());
}

TEST_F(CurlTransportLife, TimeSpentInsideACallIsNotSlowness)
{
    Use({.lowestSpeed = 1000, .speedWindow = 1s});
    RawServer server(SendInTwo);
    Fetch fetch(server.Url());
    fetch->onData = [&](ZALCefHttpRequest*) {
        if (fetch->body != "abc")
            return;
        bool over = false;
        Loop().CallAfter(1500ms, [&] { over = true; });
        Loop().RunUntil([&] { return over; }, 60s);
        server.Tell();
    };
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: abcdef", fetch.Told());
}
