#include "server/SocketPlatform.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace korvane {

int SocketPlatform::accept(int listening)
{
    return ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
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

} // namespace korvane
