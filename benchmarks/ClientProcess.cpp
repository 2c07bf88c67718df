#include "ClientProcess.h"

#include "Loopback.h"

#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace korvane {

namespace {

void require(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(what);
}

[[noreturn]] void serveOneInvitation(
    const Descriptor& channel, const std::function<double(Client&)>& work)
{
    Invitation invitation;
    if (::read(channel.get(), &invitation, sizeof invitation) != sizeof invitation)
        ::_exit(EXIT_FAILURE);
    Client client(invitation);
    const double seconds = work(client);
    const bool told = ::write(channel.get(), &seconds, sizeof seconds) == sizeof seconds;
    ::_exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

Invitation::Invitation(std::uint16_t server, std::string_view ticketOrToken) : port(server)
{
    std::copy_n(
        ticketOrToken.begin(), std::min(ticketOrToken.size(), secret.size() - 1), secret.begin());
}

Client::Client(const Invitation& invitation)
    : m_invitation(invitation)
    , m_buffer(std::size_t{256} * 1024)
{
}

std::int64_t Client::fetch(std::string_view request)
{
    const Descriptor socket = Loopback::connected(m_invitation.port);
    Loopback::sendAll(socket, request);
    std::size_t total = 0;
    while (const std::size_t count = Loopback::readSome(socket, m_buffer))
        total += count;
    return static_cast<std::int64_t>(total);
}

ClientProcess::ClientProcess(const std::function<double(Client&)>& work)
{
    int ends[2];
    require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "no pair of sockets");
    m_channel = Descriptor(ends[0]);
    const Descriptor theirs(ends[1]);
    m_process = ::fork();
    require(m_process >= 0, "no process");
    if (m_process > 0)
        return;
    m_channel = Descriptor();
    serveOneInvitation(theirs, work);
}

ClientProcess::~ClientProcess()
{
    m_channel = Descriptor(); // EOF ends a client that was never invited
    ::waitpid(m_process, nullptr, 0);
}

double ClientProcess::secondsWith(const Invitation& invitation)
{
    double seconds = 0;
    const int channel = m_channel.get();
    require(::write(channel, &invitation, sizeof invitation) == sizeof invitation
            && ::read(channel, &seconds, sizeof seconds) == sizeof seconds,
        "a client failed");
    return seconds;
}

} // namespace korvane
