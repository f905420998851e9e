#include "tests/support/RawServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <list>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

namespace openhost::testing {

namespace {
using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using Tls = std::unique_ptr<SSL, decltype(&SSL_free)>;

Context MakeContext(const ServerCertificate& identity)
{
    Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> keyText(BIO_new_mem_buf(identity.key.c_str(), -1),
                                                                BIO_free_all);
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> recordText(BIO_new_mem_buf(identity.certificate.c_str(), -1),
                                                                   BIO_free_all);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> record(
        PEM_read_bio_X509(recordText.get(), nullptr, nullptr, nullptr), X509_free);
    if (SSL_CTX_use_certificate(context.get(), record.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1)
        throw std::runtime_error("the server cannot use its certificate");
    return context;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// The server

class RawServer::Impl {
public:
    Impl(Script script, const ServerCertificate* certificate) : script_(std::move(script))
    {
        if (certificate)
            context_ = MakeContext(*certificate);
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* general = reinterpret_cast<sockaddr*>(&address);
        if (listener_ < 0 || bind(listener_, general, size) != 0 || listen(listener_, 64) != 0 ||
            getsockname(listener_, general, &size) != 0)
            throw std::runtime_error("the server cannot listen");
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { Accept(); });
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    ~Impl()
    {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
            shutdown(listener_, SHUT_RDWR);
            for (const int connection : open_)
                shutdown(connection, SHUT_RDWR);
        }
        changed_.notify_all();
        acceptor_.join();
        for (std::thread& thread : threads_)
            thread.join();
        close(listener_);
    }

    void Accept()
    {
        // A write to a connection that the client has closed is no reason to end the process.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        while (true) {
            const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            const std::lock_guard lock(mutex_);
            if (connection < 0 || ended_) {
                if (connection >= 0)
                    close(connection);
                return;
            }
            ++connections_;
            open_.push_back(connection);
            threads_.emplace_back([this, connection] { Serve(connection); });
        }
    }

    void Serve(int connection);

    void CloseDescriptor(int connection)
    {
        const std::lock_guard lock(mutex_);
        if (std::erase(open_, connection) > 0)
            close(connection);
    }

    Script script_;
    Context context_{nullptr, SSL_CTX_free};
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::thread acceptor_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    int told_ = 0;
    int connections_ = 0;
    std::vector<int> open_;
    std::list<std::thread> threads_;
    std::vector<std::string> requests_;
};

// ---------------------------------------------------------------------------------------------
// A connection

namespace {
class Stream {
public:
    Stream(int descriptor, SSL_CTX* context) : descriptor_(descriptor)
    {
        if (!context)
            return;
        tls_.reset(SSL_new(context));
        SSL_set_fd(tls_.get(), descriptor);
        failed_ = SSL_accept(tls_.get()) != 1;
    }
    std::string_view Read()
    {
        if (failed_)
            return {};
        const auto size = tls_ ? SSL_read(tls_.get(), buffer_.data(), static_cast<int>(buffer_.size()))
                               : recv(descriptor_, buffer_.data(), buffer_.size(), 0);
        return {buffer_.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }
    bool Write(std::string_view bytes)
    {
        while (!failed_ && !bytes.empty()) {
            const auto size = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                                   : send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            failed_ = size <= 0;
            if (!failed_)
                bytes.remove_prefix(static_cast<std::size_t>(size));
        }
        return !failed_;
    }
    void Close()
    {
        if (tls_ && !failed_)
            SSL_shutdown(tls_.get());
        shutdown(descriptor_, SHUT_WR);
    }
    void BreakOff()
    {
        failed_ = true;
        shutdown(descriptor_, SHUT_WR);
    }

private:
    int descriptor_;
    Tls tls_{nullptr, SSL_free};
    bool failed_ = false;
    std::array<char, 16384> buffer_{};
};

std::size_t BodyLength(const std::string& head)
{
    std::string lower = head;
    std::ranges::transform(lower, lower.begin(),
                           [](unsigned char letter) { return static_cast<char>(tolower(letter)); });
    constexpr std::string_view name = "\r\ncontent-length:";
    const auto found = lower.find(name);
    return found == std::string::npos ? 0 : std::stoul(lower.substr(found + name.size()));
}
} // namespace

class RawConnection final : public RawServer::Connection {
public:
    RawConnection(RawServer::Impl& server, int descriptor, SSL_CTX* context)
        : server_(server), descriptor_(descriptor), stream_(descriptor, context)
    {
    }

    std::string ReadRequest() override
    {
        std::size_t end = 0;
        while ((end = input_.find("\r\n\r\n")) == std::string::npos ||
               input_.size() < end + 4 + BodyLength(input_.substr(0, end))) {
            const auto bytes = stream_.Read();
            if (bytes.empty())
                return {};
            input_ += bytes;
        }
        const std::size_t size = end + 4 + BodyLength(input_.substr(0, end));
        std::string request = input_.substr(0, size);
        input_.erase(0, size);
        const std::lock_guard lock(server_.mutex_);
        server_.requests_.push_back(request);
        return request;
    }

    bool Send(std::string_view bytes) override { return stream_.Write(bytes); }

    void Close() override
    {
        if (!reset_)
            stream_.Close();
    }

    void BreakOff() override { stream_.BreakOff(); }

    void Reset() override
    {
        constexpr linger atOnce{1, 0};
        setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        reset_ = true;
        server_.CloseDescriptor(descriptor_);
    }

    void AwaitTold() override
    {
        std::unique_lock lock(server_.mutex_);
        server_.changed_.wait(lock, [this] { return server_.ended_ || server_.told_ > 0; });
        if (server_.told_ > 0)
            --server_.told_;
    }

    void AwaitClosed() override
    {
        while (!stream_.Read().empty()) {
        }
    }

    void Pause(std::chrono::milliseconds time) override
    {
        std::unique_lock lock(server_.mutex_);
        server_.changed_.wait_for(lock, time, [this] { return server_.ended_; });
    }

private:
    RawServer::Impl& server_;
    int descriptor_;
    Stream stream_;
    std::string input_;
    bool reset_ = false;
};

void RawServer::Impl::Serve(int connection)
{
    {
        RawConnection side(*this, connection, context_.get());
        script_(side);
        side.Close();
    }
    CloseDescriptor(connection);
}

// ---------------------------------------------------------------------------------------------
// Scripts and the outside

RawServer::RawServer(Script script, const ServerCertificate* certificate)
    : impl_(std::make_unique<Impl>(std::move(script), certificate))
{
}

RawServer::~RawServer() = default;

RawServer::Script RawServer::Answering(std::function<std::string(const std::string&)> reply)
{
    return [reply = std::move(reply)](Connection& connection) {
        for (std::string request = connection.ReadRequest(); !request.empty(); request = connection.ReadRequest())
            connection.Send(reply(request));
    };
}

RawServer::Script RawServer::Once(std::string reply)
{
    return [reply = std::move(reply)](Connection& connection) {
        connection.ReadRequest();
        connection.Send(reply);
    };
}

std::uint16_t RawServer::Port() const
{
    return impl_->port_;
}

std::string RawServer::Url(const std::string& path, const std::string& host) const
{
    return (impl_->context_ ? "https://" : "http://") + host + ":" + std::to_string(Port()) + path;
}

std::vector<std::string> RawServer::Requests() const
{
    const std::lock_guard lock(impl_->mutex_);
    return impl_->requests_;
}

int RawServer::Connections() const
{
    const std::lock_guard lock(impl_->mutex_);
    return impl_->connections_;
}

void RawServer::Tell()
{
    {
        const std::lock_guard lock(impl_->mutex_);
        ++impl_->told_;
    }
    impl_->changed_.notify_all();
}

std::string PathOf(const std::string& request)
{
    const auto first = request.find(' ');
    return first == std::string::npos ? "" : request.substr(first + 1, request.find(' ', first + 1) - first - 1);
}

} // namespace openhost::testing
