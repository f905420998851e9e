// Pages on loopback for the browser.
#pragma once

#include <httplib.h>

#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>

namespace openhost::testing {

/// What an answer waits for. Opens at the latest when the test has left it.
class Gate {
public:
    ~Gate() { Open(); }
    void Open()
    {
        if (!std::exchange(open_, true))
            promise_.set_value();
    }
    /// Returns once the gate is open.
    std::function<void()> Wait()
    {
        return [opened = opened_] { opened.wait(); };
    }

private:
    std::promise<void> promise_;
    std::shared_future<void> opened_{promise_.get_future()};
    bool open_ = false;
};

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
