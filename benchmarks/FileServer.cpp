// The other side of fetches and uploads: FileServer FILE prints its port and answers every request with the file, until
// its standard input ends.

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

/// False at the end of the connection.
bool ReadRequest(int connection)
{
    std::string head;
    std::array<char, 4096> bytes{};
    while (head.find("\r\n\r\n") == std::string::npos) {
        const ssize_t size = recv(connection, bytes.data(), bytes.size(), 0);
        if (size <= 0)
            return false;
        head.append(bytes.data(), static_cast<std::size_t>(size));
    }

    const std::size_t length = head.find("Content-Length: ");
    if (length == std::string::npos)
        return true;
    static std::array<char, 1 << 20> body;
    std::size_t left = std::stoull(head.substr(length + 16)) - (head.size() - head.find("\r\n\r\n") - 4);
    while (left > 0) {
        const ssize_t size = recv(connection, body.data(), body.size(), 0);
        if (size <= 0)
            return false;
        left -= static_cast<std::size_t>(size);
    }
    return true;
}

bool SendFile(int connection, int file, off_t size)
{
    const std::string head =
        "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: " + std::to_string(size) +
        "\r\n\r\n";
    if (send(connection, head.data(), head.size(), MSG_MORE) != static_cast<ssize_t>(head.size()))
        return false;
    for (off_t at = 0; at < size;)
        if (sendfile(connection, file, &at, static_cast<std::size_t>(size - at)) <= 0)
            return false;
    return true;
}

} // namespace

int main(int count, char** arguments)
{
    const int file = count == 2 ? open(arguments[1], O_RDONLY | O_CLOEXEC) : -1;
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        std::fprintf(stderr, "usage: FileServer FILE\n");
        return EXIT_FAILURE;
    }
    std::signal(SIGPIPE, SIG_IGN);

    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* general = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, general, size) != 0 || listen(listener, 16) != 0 || getsockname(listener, general, &size) != 0)
        return EXIT_FAILURE;
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);

    while (true) {
        std::array<pollfd, 2> waiting{{{listener, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        if (poll(waiting.data(), waiting.size(), -1) < 0 || waiting[1].revents != 0)
            return EXIT_SUCCESS;
        const int connection = accept(listener, nullptr, nullptr);
        if (connection < 0)
            continue;
        while (ReadRequest(connection) && SendFile(connection, file, status.st_size)) {
        }
        close(connection);
    }
}
