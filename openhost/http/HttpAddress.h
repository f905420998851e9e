// Addresses and texts that may go into a request.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace openhost {

/// An http or https address, split.
struct HttpAddress {
    std::string url; ///< in normal form, bytes above ASCII percent-encoded
    std::string scheme;
    std::string host; ///< lower case; an IPv6 address stands in brackets
    std::string port;

    /// Whether the host is 127.0.0.0/8, ::1 or "localhost".
    bool IsLoopback() const;
    /// Whether both have the scheme, host and port in common.
    bool HasOriginOf(const HttpAddress& other) const;
};

/// Splits `url`. Nothing for one that is malformed, of another scheme, with a user name, or with white space or
/// control characters.
std::optional<HttpAddress> ParseHttpAddress(const std::string& url);
/// The address to which the reply of `from` redirects with `location`, which may be relative.
std::optional<HttpAddress> ResolveHttpAddress(const HttpAddress& from, const std::string& location);

/// Whether `text` can be a method or the name of a header.
bool IsHttpToken(std::string_view text);
/// Whether `text` can be the value of a header: no control character but the tabulator.
bool IsHttpValue(std::string_view text);
/// Whether the texts are the same but for the case of ASCII letters.
bool IsSameHttpName(std::string_view left, std::string_view right);

} // namespace openhost
