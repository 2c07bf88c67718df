#include "server/Socket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <numeric>

namespace korvane {

namespace {

iovec asVector(std::string_view bytes)
{
    return {const_cast<char*>(bytes.data()), bytes.size()}; // sendmsg() only reads it
}

Socket::Transferred outcomeOf(ssize_t count)
{
    using Status = Socket::Status;
    if (count >= 0)
        return {Status::Done, static_cast<std::size_t>(count)};
    const bool later = errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    return {later ? Status::NotNow : Status::Failed};
}

std::uint64_t bigEndian(std::span<const unsigned char> bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), std::uint64_t{0},
        [](std::uint64_t number, unsigned char byte) { return number << 8 | byte; });
}

PeerNetwork networkOfIPv4(std::span<const unsigned char> address)
{
    constexpr PeerNetwork reserved = PeerNetwork{0xffff} << 32;
    return reserved | bigEndian(address);
}

} // namespace

PeerNetwork networkOf(const sockaddr_storage& address)
{
    if (address.ss_family != AF_INET6) {
        const auto& ipv4 = reinterpret_cast<const sockaddr_in&>(address).sin_addr;
        return networkOfIPv4({reinterpret_cast<const unsigned char*>(&ipv4), sizeof ipv4});
    }
    const in6_addr& host = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
    const std::span bytes(host.s6_addr);
    return IN6_IS_ADDR_V4MAPPED(&host) ? networkOfIPv4(bytes.last<4>())
                                       : bigEndian(bytes.first<8>());
}

Socket::Socket(int descriptor) : m_descriptor(descriptor)
{
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    sendWithoutSignal();
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
    return outcomeOf(::sendmsg(descriptor(), &message, sendFlags()));
}

void Socket::finishSending() const
{
    ::shutdown(descriptor(), SHUT_WR);
}

void Socket::discardOnClose() const
{
    const linger discard{1, 0};
    ::setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
}

bool Socket::isConnected() const
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    return ::getpeername(descriptor(), reinterpret_cast<sockaddr*>(&address), &size) == 0;
}

std::string numericHost(const sockaddr_storage& address)
{
    std::array<char, NI_MAXHOST> text{};
    const auto* plain = reinterpret_cast<const sockaddr*>(&address);
    const socklen_t size
        = address.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    if (::getnameinfo(plain, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) != 0)
        return "";
    const std::string_view host = text.data();
    constexpr std::string_view mapped = "::ffff:"; // IPv4 on a dual-stack socket
    return std::string(host.starts_with(mapped) ? host.substr(mapped.size()) : host);
}

} // namespace korvane
