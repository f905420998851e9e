// Pages on loopback for the browser.
#pragma once

#include <httplib.h>

#include <string>
#include <thread>

namespace openhost::testing {

/// A server that sends what tests give it. Routes are added before Start.
class PageServer {
public:
    PageServer();
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;
    ~PageServer();

    void AddPage(const std::string& path, const std::string& html);
    httplib::Server& Routes() { return server_; }
    void Start();
    void Stop();
    /// Address of `path`, under the name `host` of this machine.
    std::string Url(const std::string& path, const std::string& host = "127.0.0.1") const;

private:
    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
};

} // namespace openhost::testing
