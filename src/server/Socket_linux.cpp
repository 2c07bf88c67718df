#include "server/Socket.h"

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>

namespace korvane {

int Socket::accept(int listening, sockaddr_storage& peer)
{
    socklen_t size = sizeof peer;
    return ::accept4(listening, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC);
}

void Socket::sendWithoutSignal() const { }

int Socket::sendFlags()
{
    return MSG_NOSIGNAL;
}

std::int64_t Socket::unacknowledged() const
{
    int count = 0;
    return ::ioctl(descriptor(), SIOCOUTQ, &count) == 0 ? count : 0;
}

bool Socket::hadAllAtReset(std::int64_t size) const
{
    int segment = 0;
    socklen_t length = sizeof segment;
    ::getsockopt(descriptor(), IPPROTO_TCP, TCP_MAXSEG, &segment, &length);
    constexpr std::int64_t ownEnd = 1; // our FIN takes one sequence number
    const std::int64_t missing = unacknowledged() - ownEnd;
    return missing <= 0 || (missing < size && missing <= 2 * std::int64_t{segment});
}

} // namespace korvane
