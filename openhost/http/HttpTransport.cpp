#include "openhost/http/HttpTransport.h"

namespace openhost {

template class Port<HttpTransport>;

namespace {
class RefusingTransport final : public HttpTransport {
public:
    std::unique_ptr<HttpTransfer> Start(HttpRequestData, HttpTransferListener&) override { return nullptr; }
};
} // namespace

HttpTransport::~HttpTransport() = default;

std::unique_ptr<HttpTransport> HttpTransport::WithoutBackend()
{
    return std::make_unique<RefusingTransport>();
}

} // namespace openhost
