#include "openhost/http/ScriptedTransport.h"

#include "openhost/loop/ManualEventLoop.h"
#include "tests/openhost/http/HttpFixture.h"

#include <gmock/gmock.h>

using namespace openhost;
using namespace openhost::testing;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace {
class ScriptedTransportTest : public ::testing::Test {
protected:
    ScriptedTransportTest()
    {
        auto transport = std::make_unique<ScriptedTransport>();
        transport_ = transport.get();
        transportBefore_ = HttpTransport::Install(std::move(transport));
    }
    ~ScriptedTransportTest() override
    {
        HttpTransport::Install(std::move(transportBefore_));
        EventLoop::Install(std::move(loopBefore_));
    }
    ScriptedTransport& Transport() { return *transport_; }
    static void Run() { EXPECT_EQ(RunEnd::Idle, EventLoop::Current().RunUntilIdle()); }

private:
    std::unique_ptr<EventLoop> loopBefore_ = EventLoop::Install(std::make_unique<ManualEventLoop>());
    std::unique_ptr<HttpTransport> transportBefore_;
    ScriptedTransport* transport_ = nullptr;
};
} // namespace

TEST(RefusingTransport, IsTheFirstOfAProcessAndStartsNothing)
{
    Fetch fetch("http://127.0.0.1/");
    EXPECT_FALSE(fetch.Send());
    EXPECT_EQ(0, fetch->handlers);
    EXPECT_EQ(ZALHttpStatusUnsent, fetch.Request().GetStatus());
}

TEST_F(ScriptedTransportTest, WhatWasSentIsRecorded)
{
    Fetch fetch("http://any.example/a", "PUT");
    fetch.With("Accept", "*/*");
    ASSERT_TRUE(fetch.Send());
    const HttpRequestData& request = Transport().Last().Request();
    EXPECT_EQ("PUT", request.method);
    EXPECT_EQ("http://any.example/a", request.url);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Accept", "*/*")));
    EXPECT_EQ(1U, Transport().Requests().size());
}

TEST_F(ScriptedTransportTest, RequestsAreRefusedAsOftenAsTold)
{
    Transport().RefuseNext(2);
    Fetch fetch("http://any.example/");
    EXPECT_FALSE(fetch.Send());
    EXPECT_FALSE(fetch.Send());
    EXPECT_TRUE(fetch.Send());
    EXPECT_EQ(3U, Transport().Requests().size());
    EXPECT_EQ(1U, Transport().Count());
}

TEST_F(ScriptedTransportTest, TheHandlerIsCalledAsScripted)
{
    Fetch fetch("http://any.example/");
    ASSERT_TRUE(fetch.Send());
    Run();
    EXPECT_EQ("", fetch->calls);
    auto& script = Transport().Last();
    script.Head(404, {{"Content-Type", "text/plain"}});
    EXPECT_EQ(ZALHttpResponseRefused, fetch.Request().GetResponse()->GetState());
    script.Bytes("ab");
    script.Bytes("c");
    script.Progress(3, 9);
    EXPECT_TRUE(script.IsRunning());
    script.End(TransferEnd::Failed);
    EXPECT_FALSE(script.IsRunning());
    EXPECT_THAT(fetch->progress, ElementsAre(Pair(3, 9)));
    EXPECT_EQ("hddpc failed 404: abc", fetch.Told());
    script.Bytes("late");
    script.End();
    EXPECT_EQ(1, fetch->completions);
    EXPECT_EQ("abc", fetch->body);
}

TEST_F(ScriptedTransportTest, AnAddressIsAnsweredThroughTheLoop)
{
    Transport().Answer("http://any.example/a",
                       {.code = 200, .headers = {{"X-A", "1"}}, .chunks = {"ab", "cd"}, .total = 4});
    Fetch fetch("http://any.example/a");
    ASSERT_TRUE(fetch.Send());
    EXPECT_EQ("", fetch->calls);
    Run();
    EXPECT_EQ("hdpdpc", fetch->calls);
    EXPECT_EQ("abcd", fetch->body);
    EXPECT_THAT(fetch->headers, ElementsAre(Pair("X-A", "1")));
    EXPECT_THAT(fetch->progress, ElementsAre(Pair(2, 4), Pair(4, 4)));
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_EQ(0, fetch->handlers);
}

TEST_F(ScriptedTransportTest, AnAnswerMayHaveNoHead)
{
    Transport().Answer("http://any.example/", {.code = std::nullopt, .end = TransferEnd::Failed});
    Fetch fetch("http://any.example/");
    ASSERT_TRUE(fetch.Send());
    Run();
    EXPECT_EQ("c failed 0: ", fetch.Told());
}

TEST_F(ScriptedTransportTest, ACancelInsideEachCallOfAnAnswerEndsIt)
{
    Transport().Answer("http://any.example/", {.chunks = {"ab", "cd"}});
    for (const char call : {'h', 'd', 'p'}) {
        Fetch fetch("http://any.example/");
        fetch->On(call) = [](ZALCefHttpRequest* request) { request->Cancel(); };
        ASSERT_TRUE(fetch.Send());
        Run();
        EXPECT_EQ(CallsUpTo(call) + "c", fetch->calls);
        EXPECT_EQ(ZALHttpStatusCancelled, fetch->status);
        EXPECT_TRUE(Transport().Last().IsCancelled());
    }
}

TEST_F(ScriptedTransportTest, ACancelCompletesFromTheLoopAndSilencesTheScript)
{
    Fetch fetch("http://any.example/");
    ASSERT_TRUE(fetch.Send());
    fetch.Request().Cancel();
    EXPECT_TRUE(Transport().Last().IsCancelled());
    Transport().Last().Head(200);
    Transport().Last().End();
    EXPECT_EQ("", fetch->calls);
    Run();
    EXPECT_EQ("c cancelled 0: ", fetch.Told());
}

TEST_F(ScriptedTransportTest, ACompletionWaitsForACallThatRunsTheLoop)
{
    Fetch fetch("http://any.example/");
    ASSERT_TRUE(fetch.Send());
    fetch->onData = [&](ZALCefHttpRequest* request) {
        request->Cancel();
        Run();
        EXPECT_FALSE(fetch->IsComplete());
    };
    Transport().Last().Head(200);
    Transport().Last().Bytes("abc");
    EXPECT_FALSE(fetch->IsComplete());
    Run();
    EXPECT_EQ("hdc", fetch->calls);
}

TEST_F(ScriptedTransportTest, ADestroyedRequestStillCompletesOnceWithoutRequest)
{
    Transport().Answer("http://any.example/", {.chunks = {"ab", "cd"}});
    Fetch fetch("http://any.example/");
    fetch->onData = [&](ZALCefHttpRequest*) { fetch.DestroyRequest(); };
    ASSERT_TRUE(fetch.Send());
    Run();
    EXPECT_EQ("hdc ended 0: ab", fetch.Told());
    EXPECT_EQ(0, fetch->handlers);
}

TEST(ZALCefHttpHeaderMap, GetRawMapReplacesAndIgnoresLetterCase)
{
    ZALCefHttpHeaderMap headers;
    headers.AddValue("content-type", "a");
    headers.AddValue("Accept", "b");
    headers.AddValue("Content-Type", "c");
    ZALHttpRawHeaderMap map;
    map.emplace("Old", "x");
    headers.GetRawMap(map);
    ASSERT_EQ(3U, map.size());
    EXPECT_EQ(2U, map.count("CONTENT-TYPE"));
    EXPECT_EQ(0U, map.count("Old"));
    EXPECT_TRUE(map.find("CONTENT-type")->second == ZALUnicodeString("a"));
    EXPECT_TRUE(map.begin()->first == ZALUnicodeString("Accept"));
    headers.AddValue("X", "y");
    EXPECT_EQ(3U, map.size());
}

TEST(ZALHeaderNameLess, IsAStrictOrder)
{
    const ZALHeaderNameLess less;
    EXPECT_FALSE(less("a", "A"));
    EXPECT_FALSE(less("A", "a"));
    EXPECT_TRUE(less("A", "b"));
    EXPECT_TRUE(less("a", "B"));
    EXPECT_FALSE(less("b", "A"));
    EXPECT_TRUE(less("a", "ab"));
    EXPECT_TRUE(less("", "a"));
    EXPECT_FALSE(less("", ""));
}
