#include "openhost/geometry_process/JobMessage.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>

namespace openhost {

namespace {

constexpr std::size_t HeaderSize = 1 + sizeof(std::uint64_t); ///< kind, number of bytes

/// Waits until `socket` is ready for `events`.
void Await(int socket, short events, JobClock::time_point deadline)
{
    int wait = -1;
    if (deadline != NoDeadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - JobClock::now()).count();
        if (left <= 0)
            throw JobTimeOut("it takes too long");
        wait = static_cast<int>(std::min<std::int64_t>(left, 1'000'000));
    }
    pollfd entry{socket, events, 0};
    poll(&entry, 1, wait);
}

/// Repeats `transfer`, which moves bytes at a position and gives their number as the system's calls do, up to `size`.
template <class Transfer>
void MoveAll(int socket, short events, std::size_t size, JobClock::time_point deadline, Transfer transfer)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = transfer(done);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count < 0 && errno == EAGAIN)
            Await(socket, events, deadline);
        else if (count == 0 || errno != EINTR)
            throw JobPartnerGone("the other process is gone");
    }
}

void Receive(int socket, char* bytes, std::size_t size, JobClock::time_point deadline)
{
    MoveAll(socket, POLLIN, size, deadline,
            [&](std::size_t done) { return recv(socket, bytes + done, size - done, MSG_DONTWAIT); });
}

} // namespace

void SendJobMessage(int socket, char kind, std::string_view bytes, JobClock::time_point deadline)
{
    const std::uint64_t size = bytes.size();
    std::string message;
    message.reserve(HeaderSize + bytes.size());
    message.push_back(kind);
    message.append(reinterpret_cast<const char*>(&size), sizeof(size));
    message.append(bytes);
    // Without the signal that a write to nobody gives.
    MoveAll(socket, POLLOUT, message.size(), deadline, [&](std::size_t done) {
        return send(socket, message.data() + done, message.size() - done, MSG_DONTWAIT | MSG_NOSIGNAL);
    });
}

JobMessage ReceiveJobMessage(int socket, std::size_t limit, JobClock::time_point deadline)
{
    char header[HeaderSize];
    Receive(socket, header, sizeof(header), deadline);
    std::uint64_t size = 0;
    std::memcpy(&size, header + 1, sizeof(size));
    if (size > limit)
        throw std::runtime_error("the result is too large");
    JobMessage message{header[0], std::string(size, '\0')};
    Receive(socket, message.bytes.data(), message.bytes.size(), deadline);
    return message;
}

} // namespace openhost
