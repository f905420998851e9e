// What a damaged geometry process may send: any bytes on its socket are messages, and then the end of the process, or
// one message too long.

#include "openhost/geometry_process/JobMessage.h"

#include <cstdlib>

#include <sys/socket.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t limit = 1000;
    constexpr std::size_t room = 1 << 16; // which a socket takes at once
    int sockets[2];
    if (size > room || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        return -1;
    if (write(sockets[1], data, size) != static_cast<ssize_t>(size))
        std::abort();
    close(sockets[1]);

    const auto deadline = openhost::JobClock::now() + std::chrono::seconds(5);
    std::size_t taken = 0;
    try {
        for (;;) {
            const openhost::JobMessage message = openhost::ReceiveJobMessage(sockets[0], limit, deadline);
            if (message.bytes.size() > limit)
                std::abort();
            taken += message.bytes.size();
        }
    } catch (const openhost::JobTimeOut&) {
        std::abort(); // all of it was there
    } catch (const std::runtime_error&) {
    }
    if (taken > size)
        std::abort();
    close(sockets[0]);
    return 0;
}
