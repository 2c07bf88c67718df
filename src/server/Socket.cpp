#include "server/Socket.h"

#include "server/SocketPlatform.h"

#include <QHostAddress>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>

namespace korvane {

namespace {

iovec asVector(std::string_view bytes)
{
    return {const_cast<char*>(bytes.data()), bytes.size()}; // sending only reads
}

Socket::Transferred outcomeOf(ssize_t count)
{
    using Status = Socket::Status;
    if (count >= 0)
        return {Status::Done, static_cast<std::size_t>(count)};
    const bool later = errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    return {later ? Status::NotNow : Status::Failed};
}

} // namespace

Socket::Socket(int descriptor) : m_descriptor(descriptor)
{
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    SocketPlatform::sendWithoutSignal(descriptor);
}

Socket::Transferred Socket::read(std::span<char> to) const
{
    const ssize_t count = ::recv(descriptor(), to.data(), to.size(), 0);
    return count == 0 ? Transferred{Status::Ended} : outcomeOf(count);
}

Socket::Transferred Socket::send(std::string_view first, std::string_view second) const
{
    std::array<iovec, 2> pieces{asVector(first), asVector(second)};
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    return outcomeOf(::sendmsg(descriptor(), &message, SocketPlatform::sendFlags()));
}

void Socket::finishSending() const
{
    ::shutdown(descriptor(), SHUT_WR);
}

std::int64_t Socket::unacknowledged() const
{
    return SocketPlatform::unacknowledged(descriptor());
}

std::string Socket::peerAddress() const
{
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    auto* address = reinterpret_cast<sockaddr*>(&storage);
    if (::getpeername(descriptor(), address, &size) != 0)
        return "";
    const QHostAddress host(address);
    bool isIPv4 = false; // also where it comes as ::ffff:192.168.1.20
    const quint32 ipv4 = host.toIPv4Address(&isIPv4);
    return (isIPv4 ? QHostAddress(ipv4) : host).toString().toStdString();
}

} // namespace korvane
