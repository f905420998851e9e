// How long a new request to the catalogue's service waits while others hold it up: 100 connections that send their head
// byte by byte, and 30 that do not read their reply.

#include "Measure.h"

#include "catalogue/service/CatalogueService.h"
#include "catalogue/store/ItemStore.h"
#include "openhost/files/TemporaryFolder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <string_view>
#include <thread>

namespace {

constexpr int SlowConnections = 100;
constexpr int UnreadConnections = 30;
constexpr int NewRequests = 50;
constexpr std::chrono::seconds Patience(10); ///< with one request; what takes longer counts as this

int Connect(int port)
{
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    timeval patience{};
    patience.tv_sec = Patience.count();
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return connection;
}

void Send(int connection, std::string_view bytes)
{
    [[maybe_unused]] const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

/// Whether a new request was answered.
bool Ask(int port)
{
    const int connection = Connect(port);
    Send(connection, "GET /items HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    std::array<char, 4096> buffer{};
    const bool answered = recv(connection, buffer.data(), buffer.size(), 0) > 0;
    close(connection);
    return answered;
}

} // namespace

int main()
{
    const openhost::TemporaryFolder folder;
    std::filesystem::create_directory(folder.Path() / "files");
    catalogue::ItemStoreWriter(folder.Path() / catalogue::StoreName);
    std::ofstream(folder.Path() / "files" / "large.zip") << std::string(64 << 20, 'z');
    catalogue::CatalogueService service(folder.Path());
    service.Start();
    const int port = service.GetPort();
    benchmarks::Require(Ask(port), "the service does not answer");

    std::vector<int> slow;
    for (int number = 0; number < SlowConnections; ++number) {
        slow.push_back(Connect(port));
        Send(slow.back(), "GET /items HTTP/1.1\r\nX-Slow: ");
    }
    std::vector<int> unread;
    for (int number = 0; number < UnreadConnections; ++number) {
        unread.push_back(Connect(port));
        Send(unread.back(), "GET /files/large.zip HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }
    std::jthread trickle([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            for (const int connection : slow)
                Send(connection, "a");
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    });

    std::vector<double> waits;
    int unanswered = 0;
    for (int request = 0; request < NewRequests && unanswered < 3; ++request)
        waits.push_back(benchmarks::Milliseconds([&] { unanswered += Ask(port) ? 0 : 1; }));
    std::printf("new_request_median %.3f ms\nnew_request_longest %.3f ms\nunanswered %d requests\n",
                benchmarks::Median(waits), *std::ranges::max_element(waits), unanswered);

    trickle = {};
    for (const int connection : slow)
        close(connection);
    for (const int connection : unread)
        close(connection);
    service.Stop();
    return unanswered == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
