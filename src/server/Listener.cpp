#include "server/Listener.h"

#include "server/Socket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

struct AddressesDeleter {
    void operator()(addrinfo* addresses) const { ::freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, AddressesDeleter>;

Addresses numericAddress(const std::string& host, std::uint16_t port)
{
    addrinfo hints{};
    hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int code = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    return Addresses(code == 0 ? found : nullptr);
}

void set(const Descriptor& socket, int level, int option, int value)
{
    ::setsockopt(socket.get(), level, option, &value, sizeof value);
}

bool bindAndListen(const Descriptor& socket, const addrinfo& address)
{
    constexpr int backlog = 512;
    return ::bind(socket.get(), address.ai_addr, address.ai_addrlen) == 0
        && ::listen(socket.get(), backlog) == 0;
}

struct Opened {
    Descriptor socket; ///< empty if there is an error
    std::error_code error;
};

Opened failed()
{
    return {Descriptor(), std::error_code(errno, std::generic_category())};
}

Opened listeningSocket(const std::string& host, std::uint16_t port)
{
    const Addresses address = numericAddress(host, port);
    if (!address)
        return {Descriptor(), std::make_error_code(std::errc::address_not_available)};
    Descriptor socket(::socket(address->ai_family, address->ai_socktype, address->ai_protocol));
    if (!socket)
        return failed();
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    set(socket, SOL_SOCKET, SO_REUSEADDR, 1); // old connections in TIME_WAIT do not block the port
    if (address->ai_family == AF_INET6)
        set(socket, IPPROTO_IPV6, IPV6_V6ONLY, 0);
    if (!bindAndListen(socket, *address))
        return failed();
    return {std::move(socket), {}};
}

/// A dual-stack socket. If that fails, as on a system without IPv6, a socket for IPv4 only, unless
/// the port is in use.
Opened socketForAll(std::uint16_t port)
{
    Opened both = listeningSocket("::", port);
    const bool isFinal = !both.error || both.error == std::errc::address_in_use;
    return isFinal ? std::move(both) : listeningSocket("0.0.0.0", port);
}

/// True if accept() can be called again at once: it was interrupted, or only the one connection
/// failed.
bool concernsOneConnection(int code)
{
    return code == EINTR || code == ECONNABORTED || code == EPROTO;
}

bool isOutOfDescriptors(int code)
{
    return code == EMFILE || code == ENFILE;
}

bool isNoneWaiting(int code)
{
    return code == EAGAIN || code == EWOULDBLOCK;
}

} // namespace

std::unique_ptr<Listener> Listener::on(
    const std::string& address, std::uint16_t port, Accept accept, FreeDescriptors free)
{
    Opened opened = address.empty() ? socketForAll(port) : listeningSocket(address, port);
    if (opened.error)
        return nullptr;
    return std::unique_ptr<Listener>(
        new Listener(std::move(opened.socket), std::move(accept), std::move(free)));
}

Listener::Listener(Descriptor socket, Accept accept, FreeDescriptors free)
    : m_socket(std::move(socket))
    , m_accept(std::move(accept))
    , m_freeDescriptors(std::move(free))
    , m_waiting(m_socket.get(), QSocketNotifier::Read)
{
    connect(&m_waiting, &QSocketNotifier::activated, this, &Listener::acceptSome);
    m_retry.setSingleShot(true);
    m_retry.setInterval(std::chrono::milliseconds(100));
    connect(&m_retry, &QTimer::timeout, this, [this] { m_waiting.setEnabled(true); });
}

/// Accepts a few connections of the backlog. The notifier fires again for the rest, after the
/// thread's other sockets have had their turn.
void Listener::acceptSome()
{
    constexpr int most = 16;
    for (int i = 0; i < most; ++i) {
        if (!acceptOne())
            return;
    }
}

/// Returns false if no more connections can be accepted for now.
bool Listener::acceptOne()
{
    sockaddr_storage peer{};
    const int descriptor = Socket::accept(m_socket.get(), peer);
    const int error = errno;
    if (descriptor >= 0)
        m_accept(descriptor, peer);
    if (descriptor >= 0 || concernsOneConnection(error))
        return true;
    if (isNoneWaiting(error))
        return false;
    if (isOutOfDescriptors(error) && m_freeDescriptors())
        return true;
    pause();
    return false;
}

/// Disables the notifier for a short time. The backlog is not empty, so that the notifier would
/// wake the thread again at once.
void Listener::pause()
{
    m_waiting.setEnabled(false);
    m_retry.start();
}

std::uint16_t Listener::port() const
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (::getsockname(m_socket.get(), plain, &size) != 0)
        return 0;
    return ntohs(address.ss_family == AF_INET6
            ? reinterpret_cast<const sockaddr_in6*>(plain)->sin6_port
            : reinterpret_cast<const sockaddr_in*>(plain)->sin_port);
}

} // namespace korvane
