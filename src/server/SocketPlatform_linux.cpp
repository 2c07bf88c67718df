#include "server/SocketPlatform.h"

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>

namespace korvane {

int SocketPlatform::accept(int listening, sockaddr_storage& peer)
{
    socklen_t size = sizeof peer;
    return ::accept4(listening, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC);
}

void SocketPlatform::sendWithoutSignal(int /*descriptor*/) { }

int SocketPlatform::sendFlags()
{
    return MSG_NOSIGNAL;
}

std::int64_t SocketPlatform::unacknowledged(int descriptor)
{
    int count = 0;
    return ::ioctl(descriptor, SIOCOUTQ, &count) == 0 ? count : 0;
}

bool SocketPlatform::hadAllAtReset(int descriptor, std::int64_t size)
{
    int segment = 0;
    socklen_t length = sizeof segment;
    ::getsockopt(descriptor, IPPROTO_TCP, TCP_MAXSEG, &segment, &length);
    constexpr std::int64_t ownEnd = 1; // our FIN takes one sequence number
    const std::int64_t missing = unacknowledged(descriptor) - ownEnd;
    return missing <= 0 || (missing < size && missing <= 2 * std::int64_t{segment});
}

} // namespace korvane
