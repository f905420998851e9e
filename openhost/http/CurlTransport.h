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
///   length nobody announces. An encoded body that does not end as its coding says has been cut short.
/// - A length that cannot be told, or is told in two ways, fails the transfer, and so does a body over https whose only
///   end is a connection that is closed without a word of TLS.
/// - What a reply may cost is limited: its head, its time, what a body decodes to and, where a body is collected, its
///   length.
class CurlTransport final : public HttpTransport {
public:
    /// Longest head of a reply. Real ones have a few KiB.
    static constexpr std::size_t MaximumHeadSize = 256UL * 1024;
    /// Most bytes of a body, as received and as decoded, that is collected in memory: replies to anything but a GET,
    /// which are answers to an upload or a form. What a GET brings goes into a file, of any length.
    static constexpr std::uint64_t MaximumCollectedBody = 64ULL * 1024 * 1024;
    /// Most bytes that one received byte decodes to, in any body. Deflating cannot reach 1,033, and only texts of one
    /// letter reach this; those are made to fill a memory or a disk.
    static constexpr std::uint64_t MaximumDecodingRatio = 1000;

    struct Options {
        std::string caFile{};                        ///< certificates to trust, PEM; empty trusts the system's
        std::vector<std::string> allowedHttpHosts{}; ///< further hosts to which plain http goes, in lower case
        std::chrono::milliseconds connectTimeout{15'000};
        std::chrono::milliseconds silenceTimeout{30'000}; ///< between two signs of life of the other side
        /// Fewest bytes a second, of head and body together and both ways, over each `speedWindow`: what is slower
        /// would never end, and everything that a user waits for is faster.
        std::uint64_t lowestSpeed = 1;
        std::chrono::milliseconds speedWindow{60'000};
        int maximumRedirects = 10;
    };

    CurlTransport();
    explicit CurlTransport(Options options);

    std::unique_ptr<HttpTransfer> Start(HttpRequestData request, HttpTransferListener& listener) override;

private:
    std::shared_ptr<class CurlConnections> connections_;
};

} // namespace openhost
