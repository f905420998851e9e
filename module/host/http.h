// HTTP of the host. Everything runs on the user-interface thread: Send returns at once, and the handler is
// called from the event loop, between events, also while a blocking dialog is up.
//
// Calls of a transfer, in order:
//   1. OnHeaders, once, with the headers of the final reply (redirects are followed).
//   2. OnData and OnProgress, any number of times.
//   3. OnComplete, once, in every case; then the host drops its reference on the handler.
// A request may be cancelled or destroyed at any time, also inside a call of its handler. The transfer of a
// destroyed request ends as cancelled, and its handler's OnComplete still comes, with a null request.
#pragma once

#include "text.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>

/// Values of ZALCefHttpRequest::GetStatus.
inline constexpr int ZALHttpStatusUnsent = 0;
inline constexpr int ZALHttpStatusRunning = 1;
inline constexpr int ZALHttpStatusFinished = 2;
inline constexpr int ZALHttpStatusFailed = 3; ///< no connection, connection lost, time limit, body cut short
inline constexpr int ZALHttpStatusCancelled = 4;

/// Values of ZALCefHttpResponse::GetState.
inline constexpr int ZALHttpResponseSucceeded = 2; ///< a reply that ended well: HTTP code 200 to 299
inline constexpr int ZALHttpResponseRefused = 3;   ///< any other HTTP code

/// Order of header names: letter case does not count.
struct ZALHeaderNameLess {
    bool operator()(const ZALUnicodeString& left, const ZALUnicodeString& right) const;
};

/// Headers from name to value, ordered by name; values of one name keep their order.
using ZALHttpRawHeaderMap = std::multimap<ZALUnicodeString, ZALUnicodeString, ZALHeaderNameLess>;

/// The headers of a request or a reply.
class ZALCefHttpHeaderMap {
public:
    void AddValue(const ZALUnicodeString& name, const ZALUnicodeString& value);
    /// Replaces `map` by a copy of the headers.
    void GetRawMap(ZALHttpRawHeaderMap& map) const;

private:
    ZALHttpRawHeaderMap headers_;
};

/// The body of a request.
class ZALCefHttpBody {
public:
    /// Replaces the body by a copy of `length` bytes.
    void SetContents(const void* bytes, std::size_t length);

private:
    friend struct ZALCefHttpRequestAccess;
    std::string contents_;
};

/// What is known of a reply.
class ZALCefHttpResponse {
public:
    int GetState() const { return state_; }
    /// The HTTP code, such as 200.
    int GetCode() const { return code_; }

private:
    friend struct ZALCefHttpRequestAccess;
    int state_ = 0;
    int code_ = 0;
};

class ZALCefHttpRequest;

/// Receives one transfer. Counted; the count starts at 1 and may change on any thread.
class ZALCefHttpDataHandler {
public:
    ZALCefHttpDataHandler() = default;
    ZALCefHttpDataHandler(const ZALCefHttpDataHandler&) = delete;
    ZALCefHttpDataHandler& operator=(const ZALCefHttpDataHandler&) = delete;
    virtual ~ZALCefHttpDataHandler();
    /// `request` is null once the request object is gone; so in all four.
    virtual void OnHeaders(ZALCefHttpRequest* request, const ZALCefHttpHeaderMap& headers) = 0;
    /// `bytes` is valid during the call.
    virtual void OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size) = 0;
    /// Bytes received so far and in all; `total` is 0 when the reply does not announce it.
    virtual void OnProgress(ZALCefHttpRequest* request, std::uint64_t current, std::uint64_t total) = 0;
    virtual void OnComplete(ZALCefHttpRequest* request) = 0;

    void AddRef() { references_.fetch_add(1, std::memory_order_relaxed); }
    void Release()
    {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

private:
    std::atomic<unsigned int> references_{1};
};

/// One request, sent once.
class ZALCefHttpRequest : public ZALBaseUnknown {
public:
    /// `method` is a token such as "GET"; `url` is taken as it stands.
    ZALCefHttpRequest(const ZALUnicodeString& method, const ZALUnicodeString& url);
    /// Ends the transfer when it runs.
    ~ZALCefHttpRequest() override;

    /// Headers of the request, to be filled before Send.
    ZALCefHttpHeaderMap& GetHeaderMap();
    /// Body of the request, to be filled before Send, which takes it over. Sent by any method; a "Content-Length" among
    /// the headers must be its length.
    ZALCefHttpBody& GetBody();
    /// Starts the transfer and returns at once; takes a reference on `handler` until OnComplete has run.
    /// False, and no call of the handler, for a URL that is malformed or of a scheme or address that the host
    /// does not allow, for a length that is not that of the body, and for a request that was sent before.
    bool Send(ZALCefHttpDataHandler* handler);
    /// Ends a running transfer: the status is 4, and OnComplete follows from the event loop. Without a
    /// running transfer nothing happens.
    void Cancel();
    /// One of the status values above.
    int GetStatus() const;
    /// The reply once its headers are there, null before. Belongs to the request.
    const ZALCefHttpResponse* GetResponse() const;

private:
    friend struct ZALCefHttpRequestAccess;
    std::shared_ptr<struct ZALHttpExchange> exchange_;
};
