// HTTP transfers over libcurl, on the event loop.
#pragma once

#include "openhost/http/HttpTransport.h"

#include <chrono>

namespace openhost {

/// Carries out http and https requests. Rules:
/// - Plain http goes to loopback addresses only, and to hosts allowed by name; https goes anywhere, with its
///   certificate checked. Connections to loopback addresses use no proxy; others use that of the environment.
/// - Redirects 301, 302, 303, 307 and 308 are followed; each hop obeys the rule of addresses and keeps the scheme.
///   Another origin is not told the headers Authorization and Cookie.
/// - The transport offers gzip and deflate unless the request has an Accept-Encoding of its own. Bytes are then
///   delivered decoded, headers as they came, and the total of OnProgress is 0 for an encoded body, whose decoded
///   length nobody announces. The announced length is that of the encoded bytes; whether their coding ends with them
///   is not looked at.
/// - The head of a reply is limited to 256 KiB.
class CurlTransport final : public HttpTransport {
public:
    struct Options {
        std::string caFile{};                        ///< certificates to trust, PEM; empty trusts the system's
        std::vector<std::string> allowedHttpHosts{}; ///< further hosts to which plain http goes, in lower case
        std::chrono::milliseconds connectTimeout{15'000};
        std::chrono::milliseconds silenceTimeout{30'000}; ///< between two signs of life of the other side
        int maximumRedirects = 10;
    };

    CurlTransport();
    explicit CurlTransport(Options options);

    std::unique_ptr<HttpTransfer> Start(HttpRequestData request, HttpTransferListener& listener) override;

private:
    std::shared_ptr<class CurlConnections> connections_;
};

} // namespace openhost
