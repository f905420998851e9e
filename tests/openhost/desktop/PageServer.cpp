#include "tests/openhost/desktop/PageServer.h"

#include <stdexcept>

namespace openhost::testing {

PageServer::PageServer()
{
    // A connection that is kept would keep the server from its end.
    server_.set_keep_alive_max_count(1);
    port_ = server_.bind_to_any_port("127.0.0.1");
    if (port_ <= 0)
        throw std::runtime_error("no port");
}

PageServer::~PageServer()
{
    Stop();
}

void PageServer::AddPage(const std::string& path, const std::string& html)
{
    server_.Get(path, [html](const httplib::Request&, httplib::Response& response) {
        response.set_content(html, "text/html; charset=utf-8");
    });
}

void PageServer::Start()
{
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running())
        std::this_thread::yield();
}

void PageServer::Stop()
{
    if (!thread_.joinable())
        return;
    server_.stop();
    thread_.join();
}

std::string PageServer::Url(const std::string& path, const std::string& host) const
{
    return "http://" + host + ":" + std::to_string(port_) + path;
}

} // namespace openhost::testing
