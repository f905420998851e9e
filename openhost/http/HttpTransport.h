// Port of HTTP transfers.
#pragma once

#include "openhost/ports/Port.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace openhost {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

/// What is sent.
struct HttpRequestData {
    std::string method;
    std::string url;
    HttpHeaders headers;
    std::string body;
};

/// How a transfer ended.
enum class TransferEnd {
    Finished,  ///< a whole reply has arrived, whatever its code
    Failed,    ///< no connection, connection lost, a time limit, too many redirects, a body cut short
    Cancelled, ///< by Cancel
};

/// Receives one transfer, always from the event loop: OnHead once, OnBytes and OnProgress any number of times,
/// OnEnd once and last. OnHead is left out when no reply came. Any of them may cancel or destroy the transfer, and may
/// run the loop: calls of one transfer never nest, the next one waits until the one before has returned.
class HttpTransferListener {
public:
    virtual ~HttpTransferListener() = default;
    /// Code and headers of the final reply.
    virtual void OnHead(int code, const HttpHeaders& headers) = 0;
    virtual void OnBytes(const char* bytes, std::size_t size) = 0;
    /// Bytes of the body received so far, and in all; `total` is 0 when it is not announced.
    virtual void OnProgress(std::uint64_t current, std::uint64_t total) = 0;
    /// `error` says in words what went wrong; empty when nothing did.
    virtual void OnEnd(TransferEnd end, const std::string& error) = 0;
};

/// A running transfer. Destroying it ends it without a further call of the listener.
class HttpTransfer {
public:
    virtual ~HttpTransfer() = default;
    /// Ends the transfer: no more bytes, and OnEnd(Cancelled) follows from the event loop.
    virtual void Cancel() = 0;
};

/// Backends: CurlTransport, ScriptedTransport.
class HttpTransport : public Port<HttpTransport> {
public:
    virtual ~HttpTransport();

    /// A transport that refuses everything.
    static std::unique_ptr<HttpTransport> WithoutBackend();

    /// Starts a transfer and returns at once; null when `request` is malformed or not allowed. `listener`
    /// outlives the transfer; the transfer may outlive the transport.
    virtual std::unique_ptr<HttpTransfer> Start(HttpRequestData request, HttpTransferListener& listener) = 0;
};

extern template class Port<HttpTransport>;

} // namespace openhost
