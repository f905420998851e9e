// A handler that writes down what it is called with.
#pragma once

#include "host/http.h"

#include "openhost/text/Utf.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace openhost::testing {

/// Outlives its handler, which ends with the last reference.
struct Recording {
    std::string calls; ///< a letter a call: h, d, p, c
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> progress;
    int completions = 0;
    int status = -1; ///< at OnComplete; -2 without a request
    int state = 0;   ///< of the response at OnComplete; 0 without one
    int code = 0;
    int handlers = 0; ///< that live

    /// What happens inside a call, after it was written down.
    std::function<void(ZALCefHttpRequest*)> onHeaders, onData, onProgress, onComplete;

    /// The one that goes with the letter `call`.
    std::function<void(ZALCefHttpRequest*)>& On(char call)
    {
        return call == 'h' ? onHeaders : call == 'd' ? onData : call == 'p' ? onProgress : onComplete;
    }

    bool IsComplete() const { return completions > 0; }
    /// The calls with each run of data and progress, one after the other, as one.
    std::string Shape() const
    {
        std::string shape = calls;
        for (auto found = shape.find("dpdp"); found != std::string::npos; found = shape.find("dpdp"))
            shape.erase(found, 2);
        return shape;
    }
};

/// The calls of a whole transfer, up to the one with the letter `call`.
inline std::string CallsUpTo(char call)
{
    const std::string calls = "hdp";
    return calls.substr(0, calls.find(call) + 1);
}

class RecordingHandler final : public ZALCefHttpDataHandler {
public:
    explicit RecordingHandler(Recording& recording) : recording_(recording) { ++recording_.handlers; }
    ~RecordingHandler() override { --recording_.handlers; }

    void OnHeaders(ZALCefHttpRequest* request, const ZALCefHttpHeaderMap& headers) override
    {
        recording_.calls += 'h';
        ZALHttpRawHeaderMap map;
        headers.GetRawMap(map);
        for (const auto& [name, value] : map)
            recording_.headers.emplace_back(ToUtf8(name), ToUtf8(value));
        Call(recording_.onHeaders, request);
    }
    void OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size) override
    {
        recording_.calls += 'd';
        recording_.body.append(static_cast<const char*>(bytes), size);
        Call(recording_.onData, request);
    }
    void OnProgress(ZALCefHttpRequest* request, std::uint64_t current, std::uint64_t total) override
    {
        recording_.calls += 'p';
        recording_.progress.emplace_back(current, total);
        Call(recording_.onProgress, request);
    }
    void OnComplete(ZALCefHttpRequest* request) override
    {
        recording_.calls += 'c';
        ++recording_.completions;
        recording_.status = request ? request->GetStatus() : -2;
        if (const auto* response = request ? request->GetResponse() : nullptr) {
            recording_.state = response->GetState();
            recording_.code = response->GetCode();
        }
        Call(recording_.onComplete, request);
    }

private:
    static void Call(const std::function<void(ZALCefHttpRequest*)>& call, ZALCefHttpRequest* request)
    {
        if (call)
            call(request);
    }

    Recording& recording_;
};

} // namespace openhost::testing
