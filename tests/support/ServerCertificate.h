// A certificate for a server of a test.
#pragma once

#include <string>

namespace openhost::testing {

/// A fresh key with a certificate that it signed itself, for 127.0.0.1 and localhost. Both are PEM texts.
struct ServerCertificate {
    /// Throws std::runtime_error when OpenSSL refuses.
    ServerCertificate();

    std::string key;
    std::string certificate;
};

} // namespace openhost::testing
