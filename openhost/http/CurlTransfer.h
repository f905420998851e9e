// One transfer of CurlTransport.
#pragma once

#include "openhost/http/CurlConnections.h"
#include "openhost/loop/EventLoop.h"

#include <array>
#include <map>

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
    void SetHeaders();

    // Events
    void Watch(curl_socket_t socket, int events);
    void SetTimer(long milliseconds);
    void OnSocket(curl_socket_t socket, bool readable, bool writable);
    void OnTimer();
    void OnSilence();
    void Drive(curl_socket_t socket, int events);

    // The reply
    bool IsListening() const { return listener_ && !cancelled_; }
    bool OnHeaderLine(std::string_view line);
    bool OnHeadEnd();
    bool OnBody(const char* bytes, std::size_t size);
    void OnHopEnd(CURLcode result);
    void FollowRedirect();
    void End(TransferEnd end, const std::string& error);
    void EndHop();
    void Close();

    // Callbacks of libcurl
    static int SocketCallback(CURL*, curl_socket_t socket, int what, void* self, void*);
    static int TimerCallback(CURLM*, long milliseconds, void* self);
    static std::size_t HeaderCallback(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t BodyCallback(char* bytes, std::size_t size, std::size_t count, void* self);
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
    EventLoop::Timer silenceTimer_ = 0;
    std::chrono::steady_clock::time_point lastSign_;
    bool driving_ = false;  ///< libcurl is on the stack and cannot be entered
    bool timerDue_ = false; ///< the timer fired meanwhile

    HttpHeaders headers_;
    std::size_t headSize_ = 0;
    bool headEnded_ = false; ///< the head of the final reply of this hop is complete
    std::string location_;   ///< where the reply of this hop redirects to
    bool decoded_ = false;   ///< bytes come out of a decoder, their number is not announced
    std::uint64_t received_ = 0;
    std::uint64_t total_ = 0;
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
