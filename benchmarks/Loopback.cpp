#include "Loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <stdexcept>

namespace korvane {

namespace {

void require(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(what);
}

/// Sets the send and receive timeouts. On a listening socket, the receive timeout bounds accept().
void setPatience(const Descriptor& socket)
{
    const timeval halfAMinute{30, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &halfAMinute, sizeof halfAMinute);
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &halfAMinute, sizeof halfAMinute);
}

Descriptor newSocket()
{
    Descriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    require(static_cast<bool>(socket), "no socket");
    setPatience(socket);
    return socket;
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

Descriptor Loopback::listening()
{
    Descriptor socket = newSocket();
    const sockaddr_in address = loopback(0);
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    require(::bind(socket.get(), any, sizeof address) == 0 && ::listen(socket.get(), 1) == 0,
        "cannot listen");
    return socket;
}

std::uint16_t Loopback::portOf(const Descriptor& listening)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(listening.get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

Descriptor Loopback::accepted(const Descriptor& listening)
{
    Descriptor socket(::accept(listening.get(), nullptr, nullptr));
    require(static_cast<bool>(socket), "nobody connects");
    setPatience(socket);
    return socket;
}

Descriptor Loopback::connected(std::uint16_t port)
{
    Descriptor socket = newSocket();
    const sockaddr_in address = loopback(port);
    const auto* server = reinterpret_cast<const sockaddr*>(&address);
    require(::connect(socket.get(), server, sizeof address) == 0, "no connection");
    return socket;
}

void Loopback::sendAll(const Descriptor& socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket.get(), bytes.data(), bytes.size(), 0);
        require(count > 0, "cannot send");
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::size_t Loopback::readSome(const Descriptor& socket, std::span<char> to)
{
    const ssize_t count = ::recv(socket.get(), to.data(), to.size(), 0);
    require(count >= 0, "cannot receive");
    return static_cast<std::size_t>(count);
}

} // namespace korvane
