#include "openhost/http/CurlConnections.h"

#include <algorithm>

namespace openhost {

namespace {
constexpr std::size_t maximumIdle = 4;
}

CurlConnections::CurlConnections(CurlTransport::Options options) : options_(std::move(options))
{
    idle_.reserve(maximumIdle); // giving back takes no memory
}

CurlConnections::~CurlConnections()
{
    for (CURLM* multi : idle_)
        curl_multi_cleanup(multi);
}

bool CurlConnections::Allows(const HttpAddress& address) const
{
    return address.scheme == "https" || address.IsLoopback() ||
           std::ranges::find(options_.allowedHttpHosts, address.host) != options_.allowedHttpHosts.end();
}

CURLM* CurlConnections::Take()
{
    // It takes longer than all else that a run without transfers does.
    static const CURLcode initialized = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (initialized != CURLE_OK)
        return nullptr;
    if (idle_.empty())
        return curl_multi_init();
    CURLM* multi = idle_.back();
    idle_.pop_back();
    return multi;
}

void CurlConnections::GiveBack(CURLM* multi)
{
    curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, nullptr);
    curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, nullptr);
    if (idle_.size() < maximumIdle)
        idle_.push_back(multi);
    else
        curl_multi_cleanup(multi);
}

} // namespace openhost
