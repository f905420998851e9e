#include "ServiceTest.h"

#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace catalogue::testing {

RawConnection::RawConnection(int port) : descriptor_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
}

RawConnection::~RawConnection()
{
    ::close(descriptor_);
}

void RawConnection::Send(const std::string& bytes) const
{
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

std::string RawConnection::ReadAll() const
{
    std::string reply;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::recv(descriptor_, buffer.data(), buffer.size(), 0)) > 0;)
        reply.append(buffer.data(), static_cast<std::size_t>(count));
    return reply;
}

std::string ServiceTest::Exchange(const std::string& bytes)
{
    const RawConnection connection(service_->GetPort());
    connection.Send(bytes);
    return connection.ReadAll();
}

} // namespace catalogue::testing
