#include "openhost/http/CurlTransfer.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>

namespace openhost {

namespace {
/// A redirect with a longer body costs its connection.
constexpr std::uint64_t maximumRedirectBody = 64UL * 1024;
/// The largest that libcurl takes; one read of a socket empties a well filled receive window.
constexpr long receiveBufferSize = 512L * 1024;
constexpr long sendBufferSize = 256L * 1024;
const std::string noMemory = "there is not enough memory";

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
      listener_(&listener), collected_(request_.method != "GET")
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
    if (!StartHop())
        return false;
    CheckPace();
    return true;
}

bool CurlTransfer::StartHop()
{
    headers_.clear();
    headSize_ = 0;
    headEnded_ = false;
    location_.clear();
    encoding_.clear();
    decoder_.reset();
    length_.reset();
    endsWithConnection_ = false;
    connectionEndTold_ = false;
    received_ = 0;
    delivered_ = 0;

    easy_ = curl_easy_init();
    BeginPaceWindow(std::chrono::steady_clock::now());
    return easy_ && SetOptions() && curl_multi_add_handle(multi_, easy_) == CURLM_OK && !refusal_;
}

bool CurlTransfer::SetOptions()
{
    const auto& options = connections_->GetOptions();
    errorText_.front() = '\0';
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
    // libcurl takes an encoded body that is cut short for a whole one: it is decoded here.
    curl_easy_setopt(easy_, CURLOPT_HTTP_CONTENT_DECODING, 0L);
    if (address_.scheme == "https") {
        curl_easy_setopt(easy_, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(easy_, CURLOPT_DEBUGFUNCTION, TraceCallback);
        curl_easy_setopt(easy_, CURLOPT_DEBUGDATA, this);
    }
    if (address_.IsLoopback()) {
        curl_easy_setopt(easy_, CURLOPT_PROXY, "");
        curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, OpenCallback);
        curl_easy_setopt(easy_, CURLOPT_OPENSOCKETDATA, this);
    }
    SetBody();
    return SetHeaders() && curl_easy_setopt(easy_, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK &&
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

bool CurlTransfer::SetHeaders()
{
    std::vector<std::string> lines;
    for (const auto& [name, value] : request_.headers)
        // libcurl sends an empty value for the semicolon.
        lines.emplace_back(name).append(value.empty() ? ";" : ": ").append(value);
    // What libcurl would add to a body on its own.
    lines.emplace_back("Expect:");
    if (!HasHeader(request_.headers, "Content-Type"))
        lines.emplace_back("Content-Type:");
    for (const std::string& line : lines) {
        curl_slist* const longer = curl_slist_append(sentHeaders_, line.c_str());
        if (!longer)
            return false;
        sentHeaders_ = longer;
    }
    return curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, sentHeaders_) == CURLE_OK;
}

curl_socket_t CurlTransfer::OpenCallback(void*, curlsocktype, curl_sockaddr* address)
{
    if (!IsLoopbackAddress(address->addr))
        return CURL_SOCKET_BAD;
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

// ---------------------------------------------------------------------------------------------
// Events

template <class Call>
bool CurlTransfer::Guard(void* self, Call call)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    try {
        return call(transfer);
    } catch (const std::bad_alloc&) {
        return transfer.Refuse(noMemory.c_str());
    } catch (...) {
        return transfer.Refuse("the receiver of the reply has failed");
    }
}

bool CurlTransfer::Refuse(const char* reason)
{
    refusal_ = reason;
    return false;
}

int CurlTransfer::SocketCallback(CURL*, curl_socket_t socket, int what, void* self, void*)
{
    Guard(self, [&](CurlTransfer& transfer) {
        transfer.Watch(socket, what == CURL_POLL_REMOVE ? 0 : what);
        return true;
    });
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
    Guard(self, [&](CurlTransfer& transfer) {
        transfer.SetTimer(milliseconds);
        return true;
    });
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

std::uint64_t CurlTransfer::MovedBytes() const
{
    curl_off_t received = 0;
    curl_off_t sent = 0;
    curl_easy_getinfo(easy_, CURLINFO_SIZE_DOWNLOAD_T, &received);
    curl_easy_getinfo(easy_, CURLINFO_SIZE_UPLOAD_T, &sent);
    return static_cast<std::uint64_t>(received + sent) + headSize_;
}

void CurlTransfer::BeginPaceWindow(std::chrono::steady_clock::time_point now)
{
    windowStart_ = now;
    windowBytes_ = MovedBytes();
}

std::string CurlTransfer::FindPaceProblem(std::chrono::steady_clock::time_point now)
{
    const auto& options = connections_->GetOptions();
    // While a call of the listener runs the loop, it is not the other side that keeps silent or is slow.
    if (driving_) {
        lastSign_ = now;
        BeginPaceWindow(now);
    }
    if (now - lastSign_ >= options.silenceTimeout)
        return "nothing was received for " + std::to_string(options.silenceTimeout.count()) + " ms";
    if (now - windowStart_ < options.speedWindow)
        return {};
    const auto least =
        static_cast<double>(options.lowestSpeed) * std::chrono::duration<double>(options.speedWindow).count();
    if (static_cast<double>(MovedBytes() - windowBytes_) < least)
        return "less than " + std::to_string(options.lowestSpeed) + " bytes a second for " +
               std::to_string(options.speedWindow.count()) + " ms";
    BeginPaceWindow(now);
    return {};
}

void CurlTransfer::CheckPace()
{
    const auto& options = connections_->GetOptions();
    try {
        const auto now = std::chrono::steady_clock::now();
        if (const std::string problem = FindPaceProblem(now); !problem.empty())
            return End(TransferEnd::Failed, problem);
        const auto next = std::min(lastSign_ + options.silenceTimeout, windowStart_ + options.speedWindow);
        paceTimer_ = EventLoop::Current().CallAfter(std::chrono::ceil<std::chrono::milliseconds>(next - now),
                                                    [weak = weak_from_this()] {
                                                        if (const auto self = weak.lock())
                                                            self->CheckPace();
                                                    });
    } catch (const std::bad_alloc&) {
        // Nobody would look again.
        End(TransferEnd::Failed, noMemory);
    }
}

void CurlTransfer::Drive(curl_socket_t socket, int events)
{
    if (!multi_)
        return;
    const auto self = shared_from_this();
    int running = 0;
    driving_ = true;
    const CURLMcode result = curl_multi_socket_action(multi_, socket, events, &running);
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
    if (refusal_) {
        End(TransferEnd::Failed, refusal_);
        return;
    }
    if (result != CURLM_OK) {
        isBroken_ = true;
        End(TransferEnd::Failed, curl_multi_strerror(result));
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
    const bool taken = Guard(self, [&](CurlTransfer& transfer) { return transfer.OnHeaderLine({bytes, length}); });
    return taken ? length : 0;
}

bool CurlTransfer::OnHeaderLine(std::string_view line)
{
    headSize_ += line.size();
    if (!IsListening())
        return false;
    if (headSize_ > CurlTransport::MaximumHeadSize)
        return Refuse("the head of the reply is too long");
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
    // A name with a blank after it is another one, as it is to libcurl.
    if (colon != std::string_view::npos)
        headers_.emplace_back(text.substr(0, colon), Trimmed(text.substr(colon + 1)));
    return true;
}

bool CurlTransfer::OnHeadEnd()
{
    long code = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &code);
    if (code < 200)
        return true;
    headEnded_ = true;
    if (!ReadFraming(code))
        return false;
    for (const auto& [name, value] : headers_) {
        if (IsSameHttpName(name, "Location") && IsRedirect(code))
            location_ = value;
        if (IsSameHttpName(name, "Content-Encoding") && !IsSameHttpName(value, "identity") &&
            !HasHeader(request_.headers, "Accept-Encoding"))
            encoding_.append(encoding_.empty() ? "" : ", ").append(value);
    }
    if (!location_.empty())
        return true;
    listener_->OnHead(static_cast<int>(code), headers_);
    return IsListening();
}

bool CurlTransfer::ReadFraming(long code)
{
    bool chunked = false;
    for (const auto& [name, value] : headers_) {
        if (IsSameHttpName(name, "Transfer-Encoding")) {
            // Anything else would have to be asked for.
            if (chunked || !IsSameHttpName(value, "chunked"))
                return Refuse("the reply comes in a transfer encoding that nobody asked for");
            chunked = true;
        }
        if (!IsSameHttpName(name, "Content-Length"))
            continue;
        std::uint64_t length = 0;
        const char* const end = value.data() + value.size();
        const auto [stop, error] = std::from_chars(value.data(), end, length);
        if (error != std::errc() || stop != end || length > std::numeric_limits<std::int64_t>::max())
            return Refuse("the length of the reply is no number of bytes");
        if (length_ && *length_ != length)
            return Refuse("the reply tells two different lengths");
        length_ = length;
    }
    const bool hasBody = request_.method != "HEAD" && code != 204 && code != 304;
    endsWithConnection_ = hasBody && !chunked && !length_;
    if (!hasBody || chunked)
        length_.reset(); // it says nothing about what comes
    return true;
}

std::size_t CurlTransfer::BodyCallback(char* bytes, std::size_t size, std::size_t count, void* self)
{
    const std::size_t length = size * count;
    const bool taken = Guard(self, [&](CurlTransfer& transfer) { return transfer.OnBody({bytes, length}); });
    return taken ? length : 0;
}

int CurlTransfer::TraceCallback(CURL*, curl_infotype type, char* bytes, std::size_t size, void* self)
{
    // An alert has two bytes, as no other message of TLS has: its level, and what it tells.
    constexpr char closeNotify = 0;
    if (type == CURLINFO_SSL_DATA_IN && size == 2 && bytes[1] == closeNotify)
        static_cast<CurlTransfer*>(self)->connectionEndTold_ = true;
    return 0;
}

bool CurlTransfer::OnBody(std::string_view bytes)
{
    if (!IsListening() || !headEnded_)
        return false;
    received_ += bytes.size();
    if (!location_.empty())
        return received_ <= maximumRedirectBody;
    if (collected_ && received_ > CurlTransport::MaximumCollectedBody)
        return Refuse("the body of the reply is too long");
    if (encoding_.empty())
        return Deliver(bytes);

    if (!decoder_)
        decoder_ = ContentDecoder::For(encoding_);
    if (!decoder_)
        return Refuse("the body of the reply comes in an encoding that nobody asked for");
    const bool decoded = decoder_->Decode(bytes, [this](std::string_view piece) { return Deliver(piece); });
    if (!decoded && IsListening() && !refusal_)
        return Refuse("the encoded body of the reply is damaged");
    return decoded;
}

bool CurlTransfer::Deliver(std::string_view bytes)
{
    delivered_ += bytes.size();
    if (collected_ && delivered_ > CurlTransport::MaximumCollectedBody)
        return Refuse("the body of the reply is too long");
    if (delivered_ > received_ * CurlTransport::MaximumDecodingRatio)
        return Refuse("the body of the reply decodes to too much");
    listener_->OnBytes(bytes.data(), bytes.size());
    if (IsListening())
        listener_->OnProgress(delivered_, encoding_.empty() ? length_.value_or(0) : 0);
    return IsListening();
}

void CurlTransfer::OnHopEnd(CURLcode result)
{
    if (!location_.empty())
        FollowRedirect();
    else if (result != CURLE_OK)
        End(TransferEnd::Failed, errorText_[0] != '\0' ? errorText_.data() : curl_easy_strerror(result));
    else if (const char* const missing = MissingPart())
        End(TransferEnd::Failed, missing);
    else
        End(TransferEnd::Finished, {});
}

const char* CurlTransfer::MissingPart() const
{
    if (!headEnded_)
        return "no reply came";
    if (length_ && received_ != *length_)
        return "the body of the reply has another length than was told";
    // One of no bytes that is told to be empty is whole, whatever its encoding.
    if (decoder_ ? !decoder_->IsComplete() : !encoding_.empty() && endsWithConnection_)
        return "the encoded body of the reply is cut short";
    if (endsWithConnection_ && address_.scheme == "https" && !connectionEndTold_)
        return "the connection was cut off, perhaps inside the body of the reply";
    return nullptr;
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
    if (!driving_) {
        PostEnd(TransferEnd::Cancelled, {});
        Close();
    }
    cancelled_ = true;
}

void CurlTransfer::Abandon()
{
    listener_ = nullptr;
    if (!driving_)
        Close();
}

void CurlTransfer::End(TransferEnd end, std::string_view error)
{
    const auto self = shared_from_this();
    Close();
    try {
        PostEnd(end, error);
    } catch (const std::bad_alloc&) {
        TellEnd(TransferEnd::Failed, noMemory);
    }
}

void CurlTransfer::PostEnd(TransferEnd end, std::string_view error)
{
    EventLoop::Current().Post([weak = weak_from_this(), end, error = std::string(error)] {
        if (const auto self = weak.lock())
            self->TellEnd(end, error);
    });
}

void CurlTransfer::TellEnd(TransferEnd end, const std::string& error)
{
    if (!listener_)
        return;
    HttpTransferListener& listener = *std::exchange(listener_, nullptr);
    if (cancelled_)
        listener.OnEnd(TransferEnd::Cancelled, {});
    else
        listener.OnEnd(end, error);
}

void CurlTransfer::EndHop()
{
    if (easy_) {
        curl_multi_remove_handle(multi_, easy_);
        curl_easy_cleanup(std::exchange(easy_, nullptr));
    }
    curl_slist_free_all(std::exchange(sentHeaders_, nullptr));
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
    loop.CancelTimer(std::exchange(paceTimer_, 0));
    CURLM* const multi = std::exchange(multi_, nullptr);
    if (isBroken_)
        curl_multi_cleanup(multi);
    else
        connections_->GiveBack(multi);
}

} // namespace openhost
