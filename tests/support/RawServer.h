// A server on loopback that sends exactly the bytes it is told to.
#pragma once

#include "tests/support/ServerCertificate.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace openhost::testing {

/// Each connection runs the script of the server on a thread of its own and is closed when the script returns. What
/// waits in a script ends with the server.
class RawServer {
public:
    class Connection {
    public:
        virtual ~Connection() = default;
        /// The next request, head and body, which is recorded; empty when the other side has closed.
        virtual std::string ReadRequest() = 0;
        /// Sends as much as the other side takes. False when it has gone.
        virtual bool Send(std::string_view bytes) = 0;
        /// Says that nothing more comes.
        virtual void Close() = 0;
        /// The same without a word of TLS, as somebody in between could.
        virtual void BreakOff() = 0;
        /// Breaks the connection.
        virtual void Reset() = 0;
        /// Waits until Tell has been called once more than there were waits.
        virtual void AwaitTold() = 0;
        /// Waits until the other side closes. Bytes that still come are dropped.
        virtual void AwaitClosed() = 0;
        /// Lets `time` pass.
        virtual void Pause(std::chrono::milliseconds time) = 0;
    };
    using Script = std::function<void(Connection&)>;

    /// Listens on a free port of 127.0.0.1, with TLS when there is a certificate. Throws std::runtime_error.
    explicit RawServer(Script script, const ServerCertificate* certificate = nullptr);
    /// Answers every request of a connection with what `reply` makes of it.
    static Script Answering(std::function<std::string(const std::string& request)> reply);
    /// Answers one request with `reply` and closes.
    static Script Once(std::string reply);
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;
    ~RawServer();

    std::uint16_t Port() const;
    /// Address of `path` at the server, by number or by the name `host`.
    std::string Url(const std::string& path = "/", const std::string& host = "127.0.0.1") const;
    /// The requests so far, in the order in which they were read.
    std::vector<std::string> Requests() const;
    int Connections() const;
    /// Lets one wait of a script end.
    void Tell();

private:
    friend class RawConnection;
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// The path of a request, as it stands in its first line.
std::string PathOf(const std::string& request);

} // namespace openhost::testing
