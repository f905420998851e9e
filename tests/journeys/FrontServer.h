// The catalogue behind a server of the test.
#pragma once

#include "tests/openhost/desktop/PageServer.h"

namespace openhost::testing {

/// Passes on to the catalogue at `address` what the test does not answer itself, by routes added before Start.
class FrontServer {
public:
    explicit FrontServer(std::string address) : address_(std::move(address)) {}

    httplib::Server& Routes() { return server_.Routes(); }
    void Start();
    /// Takes no more connections. Also from within an answer, which is still sent.
    void GoDown() { Routes().stop(); }
    std::string Address() const { return server_.Url(""); }

    /// Answers with what the catalogue answers. Any thread.
    void PassOn(const httplib::Request& request, httplib::Response& response) const;

private:
    std::string address_;
    PageServer server_;
};

} // namespace openhost::testing
