#include "openhost/http/HttpTransport.h"

#include "openhost/loop/EventLoop.h"

namespace openhost {

namespace {
class RefusingTransport final : public HttpTransport {
public:
    std::unique_ptr<HttpTransfer> Start(HttpRequestData, HttpTransferListener&) override { return nullptr; }
};

std::unique_ptr<HttpTransport>& Holder()
{
    // Made after the loop, so that it ends before it when the process does.
    EventLoop::Current();
    static std::unique_ptr<HttpTransport> transport = std::make_unique<RefusingTransport>();
    return transport;
}
} // namespace

HttpTransport::~HttpTransport() = default;

HttpTransport& HttpTransport::Current()
{
    return *Holder();
}

std::unique_ptr<HttpTransport> HttpTransport::Install(std::unique_ptr<HttpTransport> transport)
{
    Holder().swap(transport);
    return transport;
}

} // namespace openhost
