#include "openhost/http/CurlTransport.h"

#include "openhost/http/CurlTransfer.h"

#include <algorithm>
#include <utility>

namespace openhost {

CurlTransport::CurlTransport() : CurlTransport(Options{}) {}

CurlTransport::CurlTransport(Options options) : connections_(std::make_shared<CurlConnections>(std::move(options))) {}

std::unique_ptr<HttpTransfer> CurlTransport::Start(HttpRequestData request, HttpTransferListener& listener)
{
    const bool wellFormed = IsHttpToken(request.method) && std::ranges::all_of(request.headers, [](const auto& header) {
                                return IsHttpToken(header.first) && IsHttpValue(header.second);
                            });
    const auto address = ParseHttpAddress(request.url);
    if (!wellFormed || !address || !connections_->Allows(*address))
        return nullptr;

    auto transfer = std::make_shared<CurlTransfer>(connections_, std::move(request), *address, listener);
    if (!transfer->Start())
        return nullptr;
    return std::make_unique<CurlTransferHandle>(std::move(transfer));
}

} // namespace openhost
