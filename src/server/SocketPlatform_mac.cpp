#include "server/SocketPlatform.h"

#include <fcntl.h>

namespace korvane {

int SocketPlatform::accept(int listening, sockaddr_storage& peer)
{
    socklen_t size = sizeof peer;
    const int descriptor = ::accept(listening, reinterpret_cast<sockaddr*>(&peer), &size);
    if (descriptor >= 0)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return descriptor;
}

void SocketPlatform::sendWithoutSignal(int descriptor)
{
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
}

int SocketPlatform::sendFlags()
{
    return 0;
}

std::int64_t SocketPlatform::unacknowledged(int descriptor)
{
    int count = 0;
    socklen_t size = sizeof count;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_NWRITE, &count, &size) == 0 ? count : 0;
}

bool SocketPlatform::hadAllAtReset(int /*descriptor*/, std::int64_t /*size*/)
{
    return false;
}

} // namespace korvane
