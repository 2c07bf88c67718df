#include "server/Socket.h"

#include <fcntl.h>

namespace korvane {

int Socket::accept(int listening, sockaddr_storage& peer)
{
    socklen_t size = sizeof peer;
    const int descriptor = ::accept(listening, reinterpret_cast<sockaddr*>(&peer), &size);
    if (descriptor >= 0)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return descriptor;
}

void Socket::sendWithoutSignal() const
{
    const int on = 1;
    ::setsockopt(descriptor(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
}

int Socket::sendFlags()
{
    return 0;
}

std::int64_t Socket::unacknowledged() const
{
    int count = 0;
    socklen_t size = sizeof count;
    return ::getsockopt(descriptor(), SOL_SOCKET, SO_NWRITE, &count, &size) == 0 ? count : 0;
}

bool Socket::hadAllAtReset(std::int64_t /*size*/) const
{
    return false;
}

} // namespace korvane
