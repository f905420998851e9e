#include "openhost/http/CurlTransfer.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace openhost {

namespace {
constexpr std::size_t maximumHeadSize = 256UL * 1024;
/// A redirect with a longer body costs its connection.
constexpr std::uint64_t maximumRedirectBody = 64UL * 1024;
/// The largest that libcurl takes; one read of a socket empties a well filled receive window.
constexpr long receiveBufferSize = 512L * 1024;
constexpr long sendBufferSize = 256L * 1024;

bool IsRedirect(long code)
{
    return code == 301 || code == 302 || code == 303 || code == 307 || code == 308;
}

bool IsLoopbackAddress(const sockaddr& address)
{
    if (address.sa_family == AF_INET) {
        sockaddr_in version4{};
        std::memcpy(&version4, &address, sizeof version4);
        return ntohl(version4.sin_addr.s_addr) >> 24 == 127;
    }
    if (address.sa_family == AF_INET6) {
        sockaddr_in6 version6{};
        std::memcpy(&version6, &address, sizeof version6);
        return IN6_IS_ADDR_LOOPBACK(&version6.sin6_addr);
    }
    return false;
}

std::string_view Trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool HasHeader(const HttpHeaders& headers, std::string_view name)
{
    return std::ranges::any_of(headers, [&](const auto& header) { return IsSameHttpName(header.first, name); });
}
} // namespace

CurlTransfer::CurlTransfer(std::shared_ptr<CurlConnections> connections, HttpRequestData request, HttpAddress address,
                           HttpTransferListener& listener)
    : connections_(std::move(connections)), request_(std::move(request)), address_(std::move(address)),
      listener_(&listener)
{
}

CurlTransfer::~CurlTransfer()
{
    Close();
}

// ---------------------------------------------------------------------------------------------
// The request

bool CurlTransfer::Start()
{
    multi_ = connections_->Take();
    if (!multi_)
        return false;
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, SocketCallback);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, TimerCallback);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);

    lastSign_ = std::chrono::steady_clock::now();
    OnSilence();
    return StartHop();
}

bool CurlTransfer::StartHop()
{
    headers_.clear();
    headSize_ = 0;
    headEnded_ = false;
    location_.clear();
    decoded_ = false;
    received_ = 0;
    total_ = 0;

    easy_ = curl_easy_init();
    return easy_ && SetOptions() && curl_multi_add_handle(multi_, easy_) == CURLM_OK;
}

bool CurlTransfer::SetOptions()
{
    const auto& options = connections_->GetOptions();
    curl_easy_setopt(easy_, CURLOPT_ERRORBUFFER, errorText_.data());
    curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 1L);
    // A name that is still looked up does not hold up the end of its transfer.
    curl_easy_setopt(easy_, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy_, CURLOPT_BUFFERSIZE, receiveBufferSize);
    curl_easy_setopt(easy_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(options.connectTimeout.count()));
    curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy_, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(easy_, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy_, CURLOPT_HEADERFUNCTION, HeaderCallback);
    curl_easy_setopt(easy_, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, BodyCallback);
    curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
    if (!options.caFile.empty())
        curl_easy_setopt(easy_, CURLOPT_CAINFO, options.caFile.c_str());
    if (!HasHeader(request_.headers, "Accept-Encoding"))
        curl_easy_setopt(easy_, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    if (address_.IsLoopback()) {
        curl_easy_setopt(easy_, CURLOPT_PROXY, "");
        curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, OpenCallback);
        curl_easy_setopt(easy_, CURLOPT_OPENSOCKETDATA, this);
    }
    SetBody();
    SetHeaders();
    return curl_easy_setopt(easy_, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK &&
           curl_easy_setopt(easy_, CURLOPT_URL, address_.url.c_str()) == CURLE_OK;
}

void CurlTransfer::SetBody()
{
    if (request_.method == "HEAD")
        curl_easy_setopt(easy_, CURLOPT_NOBODY, 1L);
    if (!request_.body.empty() || request_.method == "POST" || request_.method == "PUT") {
        curl_easy_setopt(easy_, CURLOPT_UPLOAD_BUFFERSIZE, sendBufferSize);
        curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
        curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, request_.body.data());
    }
    curl_easy_setopt(easy_, CURLOPT_CUSTOMREQUEST, request_.method.c_str());
}

void CurlTransfer::SetHeaders()
{
    for (const auto& [name, value] : request_.headers) {
        std::string line = name;
        line.append(value.empty() ? ";" : ": ").append(value); // libcurl sends an empty value for the semicolon
        sentHeaders_ = curl_slist_append(sentHeaders_, line.c_str());
    }
    // What libcurl would add to a body on its own.
    sentHeaders_ = curl_slist_append(sentHeaders_, "Expect:");
    if (!HasHeader(request_.headers, "Content-Type"))
        sentHeaders_ = curl_slist_append(sentHeaders_, "Content-Type:");
    curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, sentHeaders_);
}

curl_socket_t CurlTransfer::OpenCallback(void*, curlsocktype, curl_sockaddr* address)
{
    if (!IsLoopbackAddress(address->addr))
        return CURL_SOCKET_BAD;
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

// ---------------------------------------------------------------------------------------------
// Events

int CurlTransfer::SocketCallback(CURL*, curl_socket_t socket, int what, void* self, void*)
{
    static_cast<CurlTransfer*>(self)->Watch(socket, what == CURL_POLL_REMOVE ? 0 : what);
    return 0;
}

void CurlTransfer::Watch(curl_socket_t socket, int events)
{
    if (events == 0) {
        sockets_.erase(socket);
        EventLoop::Current().Unwatch(socket);
        return;
    }
    sockets_[socket] = {events, false};
    EventLoop::Current().Watch(socket, (events & CURL_POLL_IN) != 0, (events & CURL_POLL_OUT) != 0,
                               [weak = weak_from_this(), socket](bool readable, bool writable) {
                                   if (const auto self = weak.lock())
                                       self->OnSocket(socket, readable, writable);
                               });
}

int CurlTransfer::TimerCallback(CURLM*, long milliseconds, void* self)
{
    static_cast<CurlTransfer*>(self)->SetTimer(milliseconds);
    return 0;
}

void CurlTransfer::SetTimer(long milliseconds)
{
    EventLoop::Current().CancelTimer(std::exchange(timer_, 0));
    timerDue_ = false;
    if (milliseconds < 0)
        return;
    timer_ = EventLoop::Current().CallAfter(std::chrono::milliseconds(milliseconds), [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->OnTimer();
    });
}

void CurlTransfer::OnSocket(curl_socket_t socket, bool readable, bool writable)
{
    if (driving_) {
        // A call of the listener runs the loop: the descriptor would be ready over and over until it returns.
        sockets_[socket].aside = true;
        EventLoop::Current().Unwatch(socket);
        return;
    }
    Drive(socket, (readable ? CURL_CSELECT_IN : 0) | (writable ? CURL_CSELECT_OUT : 0));
}

void CurlTransfer::OnTimer()
{
    timer_ = 0;
    if (driving_)
        timerDue_ = true;
    else
        Drive(CURL_SOCKET_TIMEOUT, 0);
}

void CurlTransfer::OnSilence()
{
    const auto limit = connections_->GetOptions().silenceTimeout;
    const auto now = std::chrono::steady_clock::now();
    // While a call of the listener runs the loop, it is not the other side that keeps silent.
    if (driving_)
        lastSign_ = now;
    if (now - lastSign_ >= limit) {
        End(TransferEnd::Failed, "nothing was received for " + std::to_string(limit.count()) + " ms");
        return;
    }
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(lastSign_ + limit - now);
    silenceTimer_ = EventLoop::Current().CallAfter(rest, [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->OnSilence();
    });
}

void CurlTransfer::Drive(curl_socket_t socket, int events)
{
    if (!multi_)
        return;
    const auto self = shared_from_this();
    int running = 0;
    driving_ = true;
    curl_multi_socket_action(multi_, socket, events, &running);
    driving_ = false;
    if (events != 0)
        lastSign_ = std::chrono::steady_clock::now();

    if (!listener_) {
        Close();
        return;
    }
    if (cancelled_) {
        End(TransferEnd::Cancelled, {});
        return;
    }
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) {
            OnHopEnd(message->data.result);
            return;
        }
    }

    for (const auto& [descriptor, record] : std::map(sockets_))
        if (record.aside)
            Watch(descriptor, record.events);
    if (timerDue_)
        SetTimer(0);
}

// ---------------------------------------------------------------------------------------------
// The reply

std::size_t CurlTransfer::HeaderCallback(char* bytes, std::size_t size, std::size_t count, void* self)
{
    const std::size_t length = size * count;
    return static_cast<CurlTransfer*>(self)->OnHeaderLine({bytes, length}) ? length : 0;
}

bool CurlTransfer::OnHeaderLine(std::string_view line)
{
    headSize_ += line.size();
    if (!IsListening() || headSize_ > maximumHeadSize)
        return false;
    if (headEnded_) // a trailer of a chunked body
        return true;
    if (line.starts_with("HTTP/")) {
        headers_.clear();
        return true;
    }
    const auto text = Trimmed(line);
    if (text.empty())
        return OnHeadEnd();
    if (line.front() == ' ' || line.front() == '\t') {
        if (!headers_.empty())
            headers_.back().second.append(" ").append(text);
        return true;
    }
    const auto colon = text.find(':');
    if (colon != std::string_view::npos)
        headers_.emplace_back(Trimmed(text.substr(0, colon)), Trimmed(text.substr(colon + 1)));
    return true;
}

bool CurlTransfer::OnHeadEnd()
{
    long code = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &code);
    if (code < 200)
        return true;
    headEnded_ = true;
    for (const auto& [name, value] : headers_) {
        if (IsSameHttpName(name, "Location") && IsRedirect(code))
            location_ = value;
        if (IsSameHttpName(name, "Content-Encoding") && !IsSameHttpName(value, "identity"))
            decoded_ = !HasHeader(request_.headers, "Accept-Encoding");
    }
    if (!location_.empty())
        return true;
    listener_->OnHead(static_cast<int>(code), headers_);
    return IsListening();
}

std::size_t CurlTransfer::BodyCallback(char* bytes, std::size_t size, std::size_t count, void* self)
{
    const std::size_t length = size * count;
    return static_cast<CurlTransfer*>(self)->OnBody(bytes, length) ? length : 0;
}

bool CurlTransfer::OnBody(const char* bytes, std::size_t size)
{
    if (!IsListening() || !headEnded_)
        return false;
    if (received_ == 0 && !decoded_) {
        curl_off_t announced = 0;
        curl_easy_getinfo(easy_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
        total_ = announced > 0 ? static_cast<std::uint64_t>(announced) : 0;
    }
    received_ += size;
    if (!location_.empty())
        return received_ <= maximumRedirectBody;
    listener_->OnBytes(bytes, size);
    if (IsListening())
        listener_->OnProgress(received_, total_);
    return IsListening();
}

void CurlTransfer::OnHopEnd(CURLcode result)
{
    if (!location_.empty())
        FollowRedirect();
    else if (result == CURLE_OK && headEnded_)
        End(TransferEnd::Finished, {});
    else if (result == CURLE_OK)
        End(TransferEnd::Failed, "no reply came");
    else if (headSize_ > maximumHeadSize)
        End(TransferEnd::Failed, "the head of the reply is too long");
    else
        End(TransferEnd::Failed, errorText_[0] != '\0' ? errorText_.data() : curl_easy_strerror(result));
}

void CurlTransfer::FollowRedirect()
{
    const auto next = ResolveHttpAddress(address_, location_);
    if (!next || next->scheme != address_.scheme || !connections_->Allows(*next)) {
        End(TransferEnd::Failed, "a redirect leads to an address that is not allowed: " + location_);
        return;
    }
    if (redirects_ == connections_->GetOptions().maximumRedirects) {
        End(TransferEnd::Failed, "more than " + std::to_string(redirects_) + " redirects");
        return;
    }
    ++redirects_;

    long code = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &code);
    if ((code == 303 && request_.method != "HEAD") || ((code == 301 || code == 302) && request_.method == "POST")) {
        request_.method = "GET";
        request_.body.clear();
        std::erase_if(request_.headers, [](const auto& header) {
            return IsSameHttpName(header.first, "Content-Type") || IsSameHttpName(header.first, "Content-Length");
        });
    }
    if (!next->HasOriginOf(address_))
        std::erase_if(request_.headers, [](const auto& header) {
            return IsSameHttpName(header.first, "Authorization") || IsSameHttpName(header.first, "Cookie");
        });
    address_ = *next;
    EndHop();
    if (!StartHop())
        End(TransferEnd::Failed, "a redirect cannot be followed");
}

// ---------------------------------------------------------------------------------------------
// The end

void CurlTransfer::Cancel()
{
    if (!IsListening())
        return;
    cancelled_ = true;
    if (!driving_)
        End(TransferEnd::Cancelled, {});
}

void CurlTransfer::Abandon()
{
    listener_ = nullptr;
    if (!driving_)
        Close();
}

void CurlTransfer::End(TransferEnd end, const std::string& error)
{
    Close();
    EventLoop::Current().Post([weak = weak_from_this(), end, error] {
        const auto self = weak.lock();
        if (!self || !self->listener_)
            return;
        HttpTransferListener& listener = *std::exchange(self->listener_, nullptr);
        if (self->cancelled_)
            listener.OnEnd(TransferEnd::Cancelled, {});
        else
            listener.OnEnd(end, error);
    });
}

void CurlTransfer::EndHop()
{
    if (easy_) {
        curl_multi_remove_handle(multi_, easy_);
        curl_easy_cleanup(std::exchange(easy_, nullptr));
    }
    curl_slist_free_all(std::exchange(sentHeaders_, nullptr));
    errorText_.fill('\0');
}

void CurlTransfer::Close()
{
    if (!multi_)
        return;
    EndHop();
    EventLoop& loop = EventLoop::Current();
    for (const auto& [socket, record] : std::exchange(sockets_, {}))
        loop.Unwatch(socket);
    loop.CancelTimer(std::exchange(timer_, 0));
    loop.CancelTimer(std::exchange(silenceTimer_, 0));
    connections_->GiveBack(std::exchange(multi_, nullptr));
}

} // namespace openhost
