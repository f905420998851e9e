// One transfer of CurlTransport.
#pragma once

#include "openhost/http/ContentDecoder.h"
#include "openhost/http/CurlConnections.h"
#include "openhost/loop/EventLoop.h"

#include <array>
#include <map>
#include <optional>

namespace openhost {

/// Drives libcurl from the event loop, hop by hop along redirects. It uses the loop that is current at each moment.
class CurlTransfer : public std::enable_shared_from_this<CurlTransfer> {
public:
    CurlTransfer(std::shared_ptr<CurlConnections> connections, HttpRequestData request, HttpAddress address,
                 HttpTransferListener& listener);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;
    ~CurlTransfer();

    /// False when libcurl refuses; no call follows then.
    bool Start();
    void Cancel();
    /// Ends the transfer without a further call of the listener.
    void Abandon();

private:
    /// A descriptor of libcurl. It is set aside when it becomes ready while libcurl cannot be entered.
    struct Socket {
        int events;
        bool aside;
    };

    // The request
    bool StartHop();
    bool SetOptions();
    void SetBody();
    bool SetHeaders();

    // Events
    void Watch(curl_socket_t socket, int events);
    void SetTimer(long milliseconds);
    void OnSocket(curl_socket_t socket, bool readable, bool writable);
    void OnTimer();
    /// Ends the transfer when the other side keeps silent or is too slow, and otherwise looks again later.
    void CheckPace();
    /// What is wrong with the pace; empty for nothing.
    std::string FindPaceProblem(std::chrono::steady_clock::time_point now);
    /// Bytes of this hop so far, both ways.
    std::uint64_t MovedBytes() const;
    void BeginPaceWindow(std::chrono::steady_clock::time_point now);
    void Drive(curl_socket_t socket, int events);

    // The reply
    bool IsListening() const { return listener_ && !cancelled_; }
    bool OnHeaderLine(std::string_view line);
    bool OnHeadEnd();
    /// Finds out from the head how the end of the body is told. False for a head that tells no valid way.
    bool ReadFraming(long code);
    bool OnBody(std::string_view bytes);
    bool Deliver(std::string_view bytes);
    void OnHopEnd(CURLcode result);
    /// What is missing of a reply that has ended without an error, or null.
    const char* MissingPart() const;
    /// Notes why the transfer fails. Always false.
    bool Refuse(const char* reason);
    void FollowRedirect();
    /// Ends the transfer and tells the listener, at the latest now: it is called from the loop.
    void End(TransferEnd end, std::string_view error);
    /// Has the listener told from the loop.
    void PostEnd(TransferEnd end, std::string_view error);
    void TellEnd(TransferEnd end, const std::string& error);
    void EndHop();
    void Close();

    // Callbacks of libcurl
    /// Runs what a callback of `self` does. No exception passes through libcurl: it fails the transfer.
    template <class Call>
    static bool Guard(void* self, Call call);
    static int SocketCallback(CURL*, curl_socket_t socket, int what, void* self, void*);
    static int TimerCallback(CURLM*, long milliseconds, void* self);
    static std::size_t HeaderCallback(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t BodyCallback(char* bytes, std::size_t size, std::size_t count, void* self);
    static int TraceCallback(CURL*, curl_infotype type, char* bytes, std::size_t size, void* self);
    static curl_socket_t OpenCallback(void* self, curlsocktype, curl_sockaddr* address);

    std::shared_ptr<CurlConnections> connections_;
    HttpRequestData request_;
    HttpAddress address_;
    HttpTransferListener* listener_; ///< null once nothing more may be called
    int redirects_ = 0;
    bool cancelled_ = false;

    CURLM* multi_ = nullptr;
    CURL* easy_ = nullptr;
    curl_slist* sentHeaders_ = nullptr;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
    std::map<curl_socket_t, Socket> sockets_;
    EventLoop::Timer timer_ = 0;
    EventLoop::Timer paceTimer_ = 0;
    std::chrono::steady_clock::time_point lastSign_;
    std::chrono::steady_clock::time_point windowStart_;
    std::uint64_t windowBytes_ = 0; ///< MovedBytes at its start
    bool driving_ = false;          ///< libcurl is on the stack and cannot be entered
    bool timerDue_ = false;         ///< the timer fired meanwhile
    const char* refusal_ = nullptr; ///< why the transfer fails, when it is not libcurl that knows
    bool isBroken_ = false;         ///< libcurl has failed in a way after which its connections are of no use
    const bool collected_;          ///< somebody collects the body in memory

    HttpHeaders headers_;
    std::size_t headSize_ = 0;
    bool headEnded_ = false; ///< the head of the final reply of this hop is complete
    std::string location_;   ///< where the reply of this hop redirects to
    std::string encoding_;   ///< of the body, when it is decoded here
    std::unique_ptr<ContentDecoder> decoder_;
    std::optional<std::uint64_t> length_; ///< of the body as it comes, when the head tells it
    bool endsWithConnection_ = false;     ///< nothing else tells the end of the body
    bool connectionEndTold_ = false;      ///< TLS has told that the connection ends
    std::uint64_t received_ = 0;
    std::uint64_t delivered_ = 0;
};

/// The owner's end of a transfer.
class CurlTransferHandle final : public HttpTransfer {
public:
    explicit CurlTransferHandle(std::shared_ptr<CurlTransfer> transfer) : transfer_(std::move(transfer)) {}
    CurlTransferHandle(const CurlTransferHandle&) = delete;
    CurlTransferHandle& operator=(const CurlTransferHandle&) = delete;
    ~CurlTransferHandle() override { transfer_->Abandon(); }
    void Cancel() override { transfer_->Cancel(); }

private:
    std::shared_ptr<CurlTransfer> transfer_;
};

} // namespace openhost
