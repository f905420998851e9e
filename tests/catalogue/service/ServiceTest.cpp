#include "ServiceTest.h"

#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace catalogue::testing {

std::string ServiceTest::Exchange(const std::string& bytes)
{
    const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(service_->GetPort()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    EXPECT_EQ(::send(descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));

    std::string reply;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::recv(descriptor, buffer.data(), buffer.size(), 0)) > 0;)
        reply.append(buffer.data(), static_cast<std::size_t>(count));
    ::close(descriptor);
    return reply;
}

} // namespace catalogue::testing
