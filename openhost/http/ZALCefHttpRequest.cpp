#include "host/http.h"

#include "openhost/http/HttpAddress.h"
#include "openhost/http/HttpTransport.h"
#include "openhost/journal/Events.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <new>
#include <optional>
#include <set>
#include <string>

namespace {

const char* NameOf(int status)
{
    switch (status) {
    case ZALHttpStatusFinished:
        return "finished";
    case ZALHttpStatusFailed:
        return "failed";
    case ZALHttpStatusCancelled:
        return "cancelled";
    default:
        return "refused";
    }
}

int StatusOf(openhost::TransferEnd end)
{
    switch (end) {
    case openhost::TransferEnd::Finished:
        return ZALHttpStatusFinished;
    case openhost::TransferEnd::Failed:
        return ZALHttpStatusFailed;
    case openhost::TransferEnd::Cancelled:
        break;
    }
    return ZALHttpStatusCancelled;
}

} // namespace

/// Reaches the parts of a request that the view keeps to the host.
struct ZALCefHttpRequestAccess {
    static std::string TakeContents(ZALCefHttpBody& body) { return std::move(body.contents_); }

    static ZALCefHttpResponse Response(int code)
    {
        ZALCefHttpResponse response;
        response.code_ = code;
        response.state_ = code >= 200 && code <= 299 ? ZALHttpResponseSucceeded : ZALHttpResponseRefused;
        return response;
    }
};

// ---------------------------------------------------------------------------------------------
// The exchange: what of a request goes on when the request object is gone

struct ZALHttpExchange final : openhost::HttpTransferListener, std::enable_shared_from_this<ZALHttpExchange> {
    /// Exchanges whose OnComplete has not run; they live until then, whoever lets go of them. Never destroyed, as
    /// handlers of a module must not end after the module.
    static std::set<std::shared_ptr<ZALHttpExchange>>& Running()
    {
        static auto& running = *new std::set<std::shared_ptr<ZALHttpExchange>>;
        return running;
    }

    void Cancel()
    {
        if (status != ZALHttpStatusRunning)
            return;
        transfer->Cancel();
        status = ZALHttpStatusCancelled;
    }

    void OnHead(int code, const openhost::HttpHeaders& fields) override
    {
        if (status != ZALHttpStatusRunning)
            return;
        response = ZALCefHttpRequestAccess::Response(code);
        ZALCefHttpHeaderMap map;
        for (const auto& [name, value] : fields)
            map.AddValue(openhost::FromUtf8(name), openhost::FromUtf8(value));
        handler->OnHeaders(request, map);
    }

    void OnBytes(const char* bytes, std::size_t size) override
    {
        if (status != ZALHttpStatusRunning)
            return;
        received += size;
        handler->OnData(request, bytes, size);
    }

    void OnProgress(std::uint64_t current, std::uint64_t total) override
    {
        if (status == ZALHttpStatusRunning)
            handler->OnProgress(request, current, total);
    }

    void OnEnd(openhost::TransferEnd end, const std::string& error) override
    {
        if (status == ZALHttpStatusRunning)
            status = StatusOf(end);
        transfer.reset();
        JournalEnd(error);

        const auto self = Running().extract(shared_from_this());
        ZALCefHttpDataHandler* completed = std::exchange(handler, nullptr);
        completed->OnComplete(request);
        completed->Release();
    }

    void JournalEnd(const std::string& error) const
    {
        openhost::journal::Write([&] {
            openhost::journal::Transfer event{.url = openhost::ToUtf8(url),
                                              .end = NameOf(status),
                                              .status = status,
                                              .code = response ? response->GetCode() : 0,
                                              .bytes = received};
            if (!error.empty())
                event.error = openhost::ToUtf8(openhost::FromUtf8(error));
            return event;
        });
    }

    ZALCefHttpRequest* request = nullptr; ///< null once the request object is gone
    ZALUnicodeString method;
    ZALUnicodeString url;
    ZALCefHttpHeaderMap headers;
    ZALCefHttpBody body;
    ZALCefHttpDataHandler* handler = nullptr; ///< holds a reference while the transfer runs
    std::unique_ptr<openhost::HttpTransfer> transfer;
    int status = ZALHttpStatusUnsent;
    std::optional<ZALCefHttpResponse> response;
    std::uint64_t received = 0;
};

// ---------------------------------------------------------------------------------------------
// The request

ZALCefHttpRequest::ZALCefHttpRequest(const ZALUnicodeString& method, const ZALUnicodeString& url)
    : exchange_(std::make_shared<ZALHttpExchange>())
{
    exchange_->request = this;
    exchange_->method = method;
    exchange_->url = url;
}

ZALCefHttpRequest::~ZALCefHttpRequest()
{
    exchange_->request = nullptr;
    try {
        exchange_->Cancel();
    } catch (const std::bad_alloc&) {
        // Without memory to end it the transfer goes on, and its handler hears of its end as of any other.
    }
}

ZALCefHttpHeaderMap& ZALCefHttpRequest::GetHeaderMap()
{
    return exchange_->headers;
}

ZALCefHttpBody& ZALCefHttpRequest::GetBody()
{
    return exchange_->body;
}

bool ZALCefHttpRequest::Send(ZALCefHttpDataHandler* handler)
{
    if (!handler || exchange_->status != ZALHttpStatusUnsent)
        return false;

    openhost::HttpRequestData data;
    data.method = openhost::ToUtf8(exchange_->method);
    data.url = openhost::ToUtf8(exchange_->url);
    ZALHttpRawHeaderMap headers;
    exchange_->headers.GetRawMap(headers);
    for (const auto& [name, value] : headers)
        data.headers.emplace_back(openhost::ToUtf8(name), openhost::ToUtf8(value));

    data.body = ZALCefHttpRequestAccess::TakeContents(exchange_->body);

    openhost::journal::Write(
        [&] { return openhost::journal::Request{.method = data.method, .url = data.url, .headers = data.headers}; });

    const bool isWhole = std::ranges::all_of(data.headers, [&](const auto& header) {
        return !openhost::IsSameHttpName(header.first, "Content-Length") ||
               header.second == std::to_string(data.body.size());
    });
    // First, so that nothing can fail once the transfer runs.
    ZALHttpExchange::Running().insert(exchange_);
    try {
        if (isWhole)
            exchange_->transfer = openhost::HttpTransport::Current().Start(std::move(data), *exchange_);
    } catch (...) {
        ZALHttpExchange::Running().erase(exchange_);
        throw;
    }
    if (!exchange_->transfer) {
        ZALHttpExchange::Running().erase(exchange_);
        exchange_->JournalEnd("the request is malformed or its address is not allowed");
        return false;
    }
    exchange_->status = ZALHttpStatusRunning;
    exchange_->handler = handler;
    handler->AddRef();
    return true;
}

void ZALCefHttpRequest::Cancel()
{
    exchange_->Cancel();
}

int ZALCefHttpRequest::GetStatus() const
{
    return exchange_->status;
}

const ZALCefHttpResponse* ZALCefHttpRequest::GetResponse() const
{
    return exchange_->response ? &*exchange_->response : nullptr;
}
