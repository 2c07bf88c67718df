#include "server/Client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#if __has_include(<linux/filter.h>)
#include <linux/filter.h>
#endif

#include <array>
#include <cerrno>
#include <system_error>

namespace korvane {

namespace {

sockaddr_in addressOf(in_addr host, std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr = host;
    return address;
}

bool bindTo(const Descriptor& socket, const char* source)
{
    in_addr host{};
    if (::inet_pton(AF_INET, source, &host) != 1)
        return false;
    const sockaddr_in address = addressOf(host, 0);
    return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

} // namespace

Descriptor Client::unconnected(Settings settings)
{
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto set = [&socket](int level, int option, int value) {
        if (value != 0)
            ::setsockopt(socket.get(), level, option, &value, sizeof value);
    };
    set(SOL_SOCKET, SO_RCVBUF, settings.receiveBuffer);
    set(IPPROTO_TCP, TCP_MAXSEG, settings.segment);
    if (!socket || (settings.source && !bindTo(socket, settings.source)))
        throw std::system_error(errno, std::generic_category());
    return socket;
}

Client::Client(std::uint16_t port, Settings settings) : Client(port, unconnected(settings)) { }

Client::Client(std::uint16_t port, Descriptor socket) : m_socket(std::move(socket))
{
    const sockaddr_in address = addressOf({htonl(INADDR_LOOPBACK)}, port);
    const auto* target = reinterpret_cast<const sockaddr*>(&address);
    if (::connect(m_socket.get(), target, sizeof address) != 0)
        throw std::system_error(errno, std::generic_category());
}

bool Client::send(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void Client::finishSending() const
{
    ::shutdown(m_socket.get(), SHUT_WR);
}

bool Client::waitReadable(std::chrono::milliseconds time) const
{
    pollfd wait{m_socket.get(), POLLIN, 0};
    return ::poll(&wait, 1, static_cast<int>(time.count())) == 1;
}

std::optional<QByteArray> Client::readSome(std::size_t most) const
{
    if (!waitReadable(timeout))
        return std::nullopt;
    QByteArray bytes(static_cast<qsizetype>(most), Qt::Uninitialized);
    const ssize_t count = ::recv(m_socket.get(), bytes.data(), most, 0);
    if (count < 0)
        return std::nullopt;
    bytes.truncate(count);
    return bytes;
}

std::optional<QByteArray> Client::readExactly(qsizetype count) const
{
    QByteArray all;
    while (all.size() < count) {
        const auto some = readSome(static_cast<std::size_t>(count - all.size()));
        if (!some)
            return std::nullopt;
        if (some->isEmpty())
            break;
        all += *some;
    }
    return all;
}

std::optional<QByteArray> Client::readAll() const
{
    constexpr std::size_t most = std::size_t{1024} * 1024;
    QByteArray all;
    for (auto some = readSome(most); some; some = readSome(most)) {
        if (some->isEmpty())
            return all;
        all += *some;
    }
    return std::nullopt;
}

bool Client::isClosedWithin(std::chrono::milliseconds time) const
{
    char byte = 0;
    return waitReadable(time) && ::recv(m_socket.get(), &byte, 1, 0) <= 0;
}

bool Client::discardIncoming() const
{
#if __has_include(<linux/filter.h>)
    sock_filter keepNothing{BPF_RET | BPF_K, 0, 0, 0};
    const sock_fprog program{1, &keepNothing};
    return ::setsockopt(m_socket.get(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program)
        == 0;
#else
    return false;
#endif
}

void Client::reset()
{
    const linger atOnce{1, 0};
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    m_socket = Descriptor();
}

QByteArray Response::header(const QByteArray& name) const
{
    const QByteArray start = "\r\n" + name + ": ";
    const qsizetype at = head.indexOf(start);
    if (at < 0)
        return {};
    const qsizetype value = at + start.size();
    return head.sliced(value, head.indexOf("\r\n", value) - value);
}

Response taken(const QByteArray& all)
{
    const qsizetype end = all.indexOf("\r\n\r\n");
    if (end < 0)
        return {};
    constexpr qsizetype beforeStatus = 9; // "HTTP/1.1 "
    return {all.sliced(beforeStatus, 3).toInt(), all.first(end + 4), all.sliced(end + 4)};
}

Response ask(std::uint16_t port, std::string_view head)
{
    const Client client(port);
    client.send(head);
    return taken(client.readAll().value_or(QByteArray()));
}

std::string headFor(std::string_view target, std::string_view headers)
{
    return "GET " + std::string(target) + " HTTP/1.1\r\n" + std::string(headers) + "\r\n";
}

Response get(std::uint16_t port, std::string_view target, std::string_view headers)
{
    return ask(port, headFor(target, headers));
}

} // namespace korvane
