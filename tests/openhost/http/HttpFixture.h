// A running host with HTTP on loopback, and what its requests report.
#pragma once

#include "openhost/files/TemporaryFolder.h"
#include "openhost/http/CurlTransport.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/PollEventLoop.h"
#include "tests/openhost/http/RecordingHandler.h"
#include "tests/support/RawServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <map>
#include <memory>

namespace openhost::testing {

/// A request with the handler that records it.
class Fetch {
public:
    explicit Fetch(const std::string& url, const std::string& method = "GET")
        : request_(new ZALCefHttpRequest(FromUtf8(method), FromUtf8(url)))
    {
    }
    Fetch(const Fetch&) = delete;
    Fetch& operator=(const Fetch&) = delete;
    ~Fetch() { DestroyRequest(); }

    Fetch& With(const std::string& name, const std::string& value)
    {
        request_->GetHeaderMap().AddValue(FromUtf8(name), FromUtf8(value));
        return *this;
    }
    /// Leaves the only reference on the handler to the request.
    bool Send()
    {
        auto* handler = new RecordingHandler(recording_);
        const bool sent = request_->Send(handler);
        handler->Release();
        return sent;
    }
    void DestroyRequest()
    {
        if (auto* request = std::exchange(request_, nullptr))
            request->Release();
    }
    ZALCefHttpRequest& Request() { return *request_; }
    Recording& Result() { return recording_; }
    Recording* operator->() { return &recording_; }
    /// What has come of it, such as "hdpc finished 200: abc": calls, end ("ended" without a request), code, body.
    std::string Told() const
    {
        static const std::map<int, std::string> ends = {{ZALHttpStatusFinished, "finished"},
                                                        {ZALHttpStatusFailed, "failed"},
                                                        {ZALHttpStatusCancelled, "cancelled"},
                                                        {-2, "ended"}};
        return recording_.Shape() + " " + ends.at(recording_.status) + " " + std::to_string(recording_.code) + ": " +
               recording_.body;
    }

private:
    Recording recording_;
    ZALCefHttpRequest* request_;
};

class HttpFixture : public ::testing::Test {
protected:
    HttpFixture()
    {
        Use({});
        journal::Redirect([this](const nlohmann::ordered_json& line) { journal_.push_back(line); });
    }
    ~HttpFixture() override
    {
        journal::Redirect({});
        HttpTransport::Install(std::move(transportBefore_));
        EventLoop::Install(std::move(loopBefore_));
    }

    /// Sends from now on with `options`.
    void Use(CurlTransport::Options options)
    {
        auto before = HttpTransport::Install(std::make_unique<CurlTransport>(std::move(options)));
        if (!transportBefore_)
            transportBefore_ = std::move(before);
    }

    static EventLoop& Loop() { return EventLoop::Current(); }
    /// Runs until the transfer is complete.
    static void Complete(Fetch& fetch)
    {
        ASSERT_EQ(RunEnd::Done, Loop().RunUntil([&] { return fetch->IsComplete(); }, std::chrono::seconds(60)));
    }
    static void RunWhole(Fetch& fetch)
    {
        ASSERT_TRUE(fetch.Send());
        RunToItsEnd(fetch);
    }
    /// The same for one that is sent.
    static void RunToItsEnd(Fetch& fetch)
    {
        Complete(fetch);
        ExpectOver(fetch);
    }
    /// Nothing is left to happen: one completion, and the handler is gone.
    static void ExpectOver(Fetch& fetch)
    {
        EXPECT_NE(RunEnd::TimedOut, Loop().RunUntilIdle(std::chrono::seconds(60)));
        EXPECT_EQ(1, fetch->completions);
        EXPECT_EQ('c', fetch->calls.back());
        EXPECT_EQ(0, fetch->handlers);
    }
    /// What a request to `url` tells when it is over.
    static std::string ToldOf(const std::string& url, const std::string& method = "GET")
    {
        Fetch fetch(url, method);
        RunWhole(fetch);
        return fetch.Told();
    }
    /// Trusts `certificate` from now on.
    void Trust(const ServerCertificate& certificate)
    {
        const auto file = folder_.Path() / "authority.pem";
        std::ofstream(file) << certificate.certificate;
        Use({.caFile = file});
    }
    /// The last event `name` of the journal.
    nlohmann::ordered_json Journalled(const std::string& name) const
    {
        nlohmann::ordered_json last;
        for (const auto& line : journal_)
            if (line["event"] == name)
                last = line;
        return last;
    }

private:
    TemporaryFolder folder_;
    std::vector<nlohmann::ordered_json> journal_;
    std::unique_ptr<EventLoop> loopBefore_ = EventLoop::Install(std::make_unique<PollEventLoop>());
    std::unique_ptr<HttpTransport> transportBefore_;
};

/// A whole reply with its length.
inline std::string Reply(const std::string& body, const std::string& headers = {}, const std::string& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
}

} // namespace openhost::testing
