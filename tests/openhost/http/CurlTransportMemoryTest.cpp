// Transfers without memory, and with receivers that fail.
#include "tests/openhost/http/HttpFixture.h"

#include "tests/support/FailingMemory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include <curl/curl.h>

using namespace openhost;
using namespace openhost::testing;
using namespace std::chrono_literals;

namespace {
/// Throws in the call with the letter `failing`.
struct FailingListener final : HttpTransferListener {
    void OnHead(int, const HttpHeaders&) override { Note('h'); }
    void OnBytes(const char*, std::size_t) override { Note('d'); }
    void OnProgress(std::uint64_t, std::uint64_t) override { Note('p'); }
    void OnEnd(TransferEnd end, const std::string& error) override
    {
        ends.push_back(end);
        reason = error;
    }
    void Note(char call)
    {
        if (call == failing && isMemory)
            throw std::bad_alloc();
        if (call == failing)
            throw std::runtime_error("failed");
    }

    char failing = ' ';
    bool isMemory = true;
    std::vector<TransferEnd> ends;
    std::string reason;
};

/// The allocation of libcurl that fails, counted down to 0; below that none does.
std::atomic<int> curlAllocationsLeft = -1;

bool CurlAllocationFails()
{
    return curlAllocationsLeft >= 0 && curlAllocationsLeft-- == 0;
}

const CURLcode curlAsksHere = curl_global_init_mem(
    CURL_GLOBAL_DEFAULT, [](std::size_t size) { return CurlAllocationFails() ? nullptr : std::malloc(size); },
    [](void* memory) { std::free(memory); },
    [](void* memory, std::size_t size) { return CurlAllocationFails() ? nullptr : std::realloc(memory, size); },
    [](const char* text) { return CurlAllocationFails() ? nullptr : strdup(text); },
    [](std::size_t count, std::size_t size) { return CurlAllocationFails() ? nullptr : std::calloc(count, size); });

class CurlTransportMemory : public HttpFixture {
protected:
    static std::unique_ptr<HttpTransfer> Start(const std::string& url, HttpTransferListener& listener)
    {
        return HttpTransport::Current().Start(
            {.method = "POST", .url = url, .headers = {{"X-Mark", "1"}}, .body = "body of the request"}, listener);
    }
};
} // namespace

TEST_F(CurlTransportMemory, AReceiverThatThrowsFailsItsTransfer)
{
    RawServer server(RawServer::Answering([](const std::string&) { return Reply("abc"); }));
    for (const char call : {'h', 'd', 'p'})
        for (const bool isMemory : {true, false}) {
            FailingListener listener;
            listener.failing = call;
            listener.isMemory = isMemory;
            const auto transfer = Start(server.Url(), listener);
            ASSERT_TRUE(transfer);
            EXPECT_NE(RunEnd::TimedOut, Loop().RunUntilIdle(60s));
            EXPECT_EQ(std::vector{TransferEnd::Failed}, listener.ends) << call;
            EXPECT_EQ(isMemory ? "there is not enough memory" : "the receiver of the reply has failed",
                      listener.reason);
        }
}

TEST_F(CurlTransportMemory, EachAllocationMayFailAndTheTransferEndsOnce)
{
    Use({.silenceTimeout = 50ms});
    RawServer server(RawServer::Answering([](const std::string&) { return Reply("abc", "X-Mark: 1\r\n"); }));
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        FailingListener listener;
        std::unique_ptr<HttpTransfer> transfer;
        const auto attempt = [&](const std::function<void()>& part) {
            try {
                memory.During(part);
            } catch (const std::bad_alloc&) {
                // It is the loop's or the starter's to bear.
            }
        };
        attempt([&] { transfer = Start(server.Url(), listener); });
        attempt([&] { Loop().RunUntil([&] { return !listener.ends.empty(); }, 10s); });
        Loop().RunUntilIdle(10s);
        if (!memory.HasRunOut()) {
            EXPECT_EQ(std::vector{TransferEnd::Finished}, listener.ends);
        }
        EXPECT_LE(listener.ends.size(), 1U);
        EXPECT_EQ(transfer != nullptr, listener.ends.size() == 1);
    });
    EXPECT_GT(failures, 10);
}

TEST_F(CurlTransportMemory, ALibraryWithoutMemoryHarmsNoLaterTransfer)
{
    ASSERT_EQ(CURLE_OK, curlAsksHere);
    RawServer server(RawServer::Answering([](const std::string&) { return Reply("abc"); }));
    for (int number = 0;; ++number) {
        Use({}); // whose connections are new
        FailingListener disturbed;
        curlAllocationsLeft = number;
        const auto transfer = Start(server.Url(), disturbed);
        Loop().RunUntilIdle(10s);
        const bool hasRunOut = curlAllocationsLeft < 0;
        curlAllocationsLeft = -1;
        EXPECT_EQ(transfer ? 1U : 0U, disturbed.ends.size()) << number;

        FailingListener later;
        const auto second = Start(server.Url(), later);
        ASSERT_TRUE(second) << number;
        Loop().RunUntilIdle(60s);
        EXPECT_EQ(std::vector{TransferEnd::Finished}, later.ends) << number << ": " << later.reason;
        if (!hasRunOut) {
            EXPECT_GT(number, 10);
            break;
        }
    }
}
