#include "catalogue/service/LimitedServer.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace catalogue {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// How long a wait goes on without a look whether the service stops.
constexpr auto LongestWait = 100ms;
/// For clients to take the rest of their replies once the service stops.
constexpr auto StopTime = 5s;
/// For a client to close its end, with what it still sends taken meanwhile: closed before that, the connection would
/// be reset and the reply with it.
constexpr auto CloseTime = 1s;

/// A thread for each connection, up to the limit; those that have ended their connection take the next one.
class ConnectionThreads final : public httplib::TaskQueue {
public:
    void enqueue(std::function<void()> job) override
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
        if (idle_ < jobs_.size() && threads_.size() < ServiceLimits::MaximumConnections) {
            try {
                threads_.emplace_back([this] { Run(); });
            } catch (const std::system_error&) {
                // Those that there are have to do; without any the connection waits for better times.
            }
        }
        changed_.notify_one();
    }

    void shutdown() override
    {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
        }
        changed_.notify_all();
        for (std::thread& thread : threads_)
            thread.join();
    }

private:
    void Run()
    {
        std::unique_lock lock(mutex_);
        while (true) {
            ++idle_;
            changed_.wait(lock, [this] { return !jobs_.empty() || ended_; });
            --idle_;
            if (jobs_.empty())
                return;
            const std::function<void()> job = std::move(jobs_.front());
            jobs_.pop_front();
            lock.unlock();
            job();
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_;
    std::vector<std::thread> threads_;
    std::size_t idle_ = 0;
    bool ended_ = false;
};

/// One connection, as a stream of the library. It owns the socket.
class Connection final : public httplib::Stream {
public:
    Connection(socket_t socket, const ServiceLimits& limits, const std::atomic<Clock::time_point>& stop)
        : socket_(socket), limits_(limits), stop_(stop)
    {
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() override;

    enum class Head { Complete, None, TooLong, TooSlow };
    /// Takes the head of the next request, which begins within `time`.
    Head TakeHead(std::chrono::milliseconds time);
    /// Whether the head announces a body.
    bool HasBody() const;
    /// Answers with an error.
    void Refuse(int code, const std::string& status, const std::string& reason);

    bool is_readable() const override { return taken_ < input_.size() || Wait(POLLIN, readEnd_); }
    bool is_writable() const override { return Wait(POLLOUT, Clock::now() + limits_.writeTime); }
    ssize_t read(char* bytes, std::size_t size) override;
    ssize_t write(const char* bytes, std::size_t size) override;
    void get_remote_ip_and_port(std::string& address, int& port) const override { Tell(address, port); }
    void get_local_ip_and_port(std::string& address, int& port) const override { Tell(address, port); }
    socket_t socket() const override { return socket_; }

private:
    /// Nobody asks.
    static void Tell(std::string& address, int& port)
    {
        address = "127.0.0.1";
        port = 0;
    }
    /// Waits until the socket can be read or written. False at `end`, and soon after the service stops.
    bool Wait(short events, Clock::time_point end) const;
    /// Appends what has come to the input. False when nothing comes any more.
    bool Receive(Clock::time_point end);

    socket_t socket_;
    const ServiceLimits& limits_;
    const std::atomic<Clock::time_point>& stop_; ///< when the service stops
    std::string input_;                          ///< received
    std::size_t taken_ = 0;                      ///< of it
    std::string head_;                           ///< in lower case
    Clock::time_point readEnd_;                  ///< of the time for the body
};

Connection::~Connection()
{
    ::shutdown(socket_, SHUT_WR);
    const auto end = Clock::now() + CloseTime;
    while (Receive(end))
        input_.clear(); // nobody reads it any more
    ::close(socket_);
}

bool Connection::Wait(short events, Clock::time_point end) const
{
    while (true) {
        if (const Clock::time_point stop = stop_; stop != Clock::time_point::max())
            end = std::min(end, events == POLLIN ? stop : stop + StopTime);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd entry{socket_, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::clamp(left, 0ms, 0ms + LongestWait).count()));
        if (ready != 0 && !(ready < 0 && errno == EINTR))
            return ready > 0;
        if (Clock::now() >= end)
            return false;
    }
}

bool Connection::Receive(Clock::time_point end)
{
    std::array<char, 16384> buffer;
    if (!Wait(POLLIN, end))
        return false;
    const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count > 0)
        input_.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

Connection::Head Connection::TakeHead(std::chrono::milliseconds time)
{
    constexpr std::string_view blankLine = "\r\n\r\n";
    input_.erase(0, std::exchange(taken_, 0));
    if (input_.empty() && !Receive(Clock::now() + time))
        return Head::None;
    const auto end = Clock::now() + limits_.headTime;
    std::size_t searched = 0;
    std::size_t found = std::string::npos;
    while ((found = input_.find(blankLine, searched)) == std::string::npos) {
        if (input_.size() > ServiceLimits::MaximumHeadSize)
            return Head::TooLong;
        searched = input_.size() - std::min(input_.size(), blankLine.size() - 1);
        if (!Receive(end))
            return Clock::now() >= end ? Head::TooSlow : Head::None;
    }
    const std::size_t size = found + blankLine.size();
    if (size > ServiceLimits::MaximumHeadSize)
        return Head::TooLong;
    head_ = input_.substr(0, size);
    std::ranges::transform(head_, head_.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    readEnd_ = Clock::now() + limits_.bodyTime;
    return Head::Complete;
}

bool Connection::HasBody() const
{
    return head_.find("\ncontent-length") != std::string::npos ||
           head_.find("\ntransfer-encoding") != std::string::npos;
}

void Connection::Refuse(int code, const std::string& status, const std::string& reason)
{
    const std::string body = nlohmann::ordered_json{{"error", reason}, {"code", code}}.dump();
    const std::string reply =
        "HTTP/1.1 " + std::to_string(code) + " " + status +
        "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\n\r\n" + body;
    write(reply.data(), reply.size());
}

ssize_t Connection::read(char* bytes, std::size_t size)
{
    while (taken_ == input_.size()) {
        input_.clear();
        taken_ = 0;
        if (!Receive(readEnd_))
            return -1;
    }
    const std::size_t count = input_.copy(bytes, size, taken_);
    taken_ += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* bytes, std::size_t size)
{
    while (is_writable()) {
        const ssize_t count = ::send(socket_, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0 || (errno != EAGAIN && errno != EINTR))
            return count;
    }
    return -1;
}

/// The library would take Brotli before gzip, and at its highest level: 0.1 s for a list of items, which gzip makes a
/// third larger in a hundredth of that.
void RefuseBrotli(httplib::Request& request)
{
    const auto [first, last] = request.headers.equal_range("Accept-Encoding");
    const bool takesGzip =
        std::any_of(first, last, [](const auto& header) { return header.second.find("gzip") != std::string::npos; });
    request.headers.erase(first, last);
    if (takesGzip)
        request.headers.emplace("Accept-Encoding", "gzip");
}

} // namespace

LimitedServer::LimitedServer(const ServiceLimits& limits) : limits_(limits)
{
    new_task_queue = [] { return new ConnectionThreads; };
}

void LimitedServer::LengthenQueue()
{
    ::listen(svr_sock_, ServiceLimits::QueueLength);
}

bool LimitedServer::process_and_close_socket(socket_t socket)
{
    ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &ServiceLimits::SendBuffer, sizeof ServiceLimits::SendBuffer);
    Connection connection(socket, limits_, stop_);
    for (std::size_t left = keep_alive_max_count_; left > 0; --left) {
        const bool isFirst = left == keep_alive_max_count_;
        switch (connection.TakeHead(isFirst ? limits_.headTime : limits_.idleTime)) {
        case Connection::Head::Complete:
            break;
        case Connection::Head::None:
            return true;
        case Connection::Head::TooLong:
            connection.Refuse(431, "Request Header Fields Too Large", "the head of the request is too long");
            return true;
        case Connection::Head::TooSlow:
            connection.Refuse(408, "Request Timeout", "the head of the request takes too long");
            return true;
        }
        // A body that nobody reads would be taken for the next request.
        const bool hasBody = connection.HasBody();
        if (hasBody && !bodies_.try_acquire_for(limits_.bodyTime)) {
            connection.Refuse(503, "Service Unavailable", "too many uploads at once");
            return true;
        }
        bool isClosed = false;
        bool isAnswered = false;
        try {
            isAnswered = process_request(connection, left == 1 || hasBody, isClosed, RefuseBrotli);
        } catch (const std::exception&) {
            // The memory for the request is missing, and so may be that for an answer.
        }
        if (hasBody)
            bodies_.release();
        if (!isAnswered || isClosed || hasBody)
            return true;
    }
    return true;
}

} // namespace catalogue
