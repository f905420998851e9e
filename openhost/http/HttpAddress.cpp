#include "openhost/http/HttpAddress.h"

#include <arpa/inet.h>
#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace openhost {

namespace {
using UrlHandle = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

constexpr unsigned int parseFlags = CURLU_DISALLOW_USER | CURLU_URLENCODE;

char Lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string PartOf(CURLU* handle, CURLUPart part, unsigned int flags = 0)
{
    char* text = nullptr;
    if (curl_url_get(handle, part, &text, flags) != CURLUE_OK)
        return {};
    const std::unique_ptr<char, decltype(&curl_free)> owned(text, &curl_free);
    return text;
}

std::optional<HttpAddress> Split(CURLU* handle)
{
    HttpAddress address;
    address.url = PartOf(handle, CURLUPART_URL);
    address.scheme = PartOf(handle, CURLUPART_SCHEME);
    address.host = PartOf(handle, CURLUPART_HOST);
    address.port = PartOf(handle, CURLUPART_PORT, CURLU_DEFAULT_PORT);
    std::ranges::transform(address.host, address.host.begin(), Lower);
    if ((address.scheme != "http" && address.scheme != "https") || address.host.empty() || address.url.empty())
        return std::nullopt;
    return address;
}

bool IsControl(char letter)
{
    const auto byte = static_cast<unsigned char>(letter);
    return byte < 0x20 || byte == 0x7F;
}
} // namespace

bool HttpAddress::IsLoopback() const
{
    if (host == "localhost" || host == "[::1]")
        return true;
    in_addr version4{};
    return inet_pton(AF_INET, host.c_str(), &version4) == 1 && ntohl(version4.s_addr) >> 24 == 127;
}

bool HttpAddress::HasOriginOf(const HttpAddress& other) const
{
    return scheme == other.scheme && host == other.host && port == other.port;
}

std::optional<HttpAddress> ParseHttpAddress(const std::string& url)
{
    if (std::ranges::any_of(url, [](char letter) { return letter == ' ' || IsControl(letter); }))
        return std::nullopt;
    const UrlHandle handle(curl_url(), curl_url_cleanup);
    if (!handle || curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), parseFlags) != CURLUE_OK)
        return std::nullopt;
    return Split(handle.get());
}

std::optional<HttpAddress> ResolveHttpAddress(const HttpAddress& from, const std::string& location)
{
    const UrlHandle handle(curl_url(), curl_url_cleanup);
    if (!handle || curl_url_set(handle.get(), CURLUPART_URL, from.url.c_str(), parseFlags) != CURLUE_OK ||
        curl_url_set(handle.get(), CURLUPART_URL, location.c_str(), parseFlags) != CURLUE_OK)
        return std::nullopt;
    return Split(handle.get());
}

bool IsHttpToken(std::string_view text)
{
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::ranges::all_of(text, [&](char letter) {
        return (letter >= '0' && letter <= '9') || (Lower(letter) >= 'a' && Lower(letter) <= 'z') ||
               marks.find(letter) != std::string_view::npos;
    });
}

bool IsHttpValue(std::string_view text)
{
    return std::ranges::none_of(text, [](char letter) { return letter != '\t' && IsControl(letter); });
}

bool IsSameHttpName(std::string_view left, std::string_view right)
{
    return std::ranges::equal(left, right, {}, Lower, Lower);
}

} // namespace openhost
