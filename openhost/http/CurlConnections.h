// What the transfers of one CurlTransport share.
#pragma once

#include "openhost/http/CurlTransport.h"
#include "openhost/http/HttpAddress.h"

#include <curl/curl.h>

namespace openhost {

/// Options and kept connections. A transfer drives a multi handle of its own, as libcurl cannot be entered while it
/// calls back and a call of one transfer may run the loop, in which others go on. Handles that are given back keep
/// their connections for the next transfer.
class CurlConnections {
public:
    explicit CurlConnections(CurlTransport::Options options);
    CurlConnections(const CurlConnections&) = delete;
    CurlConnections& operator=(const CurlConnections&) = delete;
    ~CurlConnections();

    const CurlTransport::Options& GetOptions() const { return options_; }
    /// Whether the rules let a request go to `address`.
    bool Allows(const HttpAddress& address) const;

    /// A multi handle without transfers, or null.
    CURLM* Take();
    void GiveBack(CURLM* multi);

private:
    CurlTransport::Options options_;
    std::vector<CURLM*> idle_;
};

} // namespace openhost
