#pragma once

#include "storage/Descriptor.h"

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// What a client needs to know about the server that it measures. A plain value.
struct Invitation {
    std::uint16_t port = 0;
    std::array<char, 64> secret{}; ///< a ticket or a token, NUL-terminated

    explicit Invitation(std::uint16_t server = 0, std::string_view ticketOrToken = "");
};

/// Sends requests and discards the answers. Used by one thread.
class Client {
public:
    explicit Client(const Invitation& invitation);

    std::string secret() const { return m_invitation.secret.data(); }

    /// Sends `request` on a new connection, reads until the peer closes it, and returns the number
    /// of bytes read.
    std::int64_t fetch(std::string_view request);

private:
    Invitation m_invitation;
    std::vector<char> m_buffer;
};

/// A client in a forked process, so that its memory does not count as the server's, and its time
/// does not include the server's start. Create it before the server's threads, because fork()
/// copies only the calling thread.
class ClientProcess {
public:
    /// `work` runs in the child and returns the seconds that it took.
    explicit ClientProcess(const std::function<double(Client&)>& work);
    ~ClientProcess();

    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    /// Makes the client do its work with that server, and returns the seconds. May be called once.
    /// Throws std::runtime_error if the client fails.
    double secondsWith(const Invitation& invitation);

private:
    Descriptor m_channel;
    pid_t m_process = 0;
};

} // namespace korvane
