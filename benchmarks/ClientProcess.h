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

/// What a client needs to know of the server that it is to measure. A plain value.
struct Invitation {
    std::uint16_t port = 0;
    std::array<char, 64> secret{}; ///< a ticket or a token, ended by a zero

    explicit Invitation(std::uint16_t server = 0, std::string_view ticketOrToken = "");
};

/// Fetches and forgets. Used by one thread.
class Client {
public:
    explicit Client(const Invitation& invitation);

    std::string secret() const { return m_invitation.secret.data(); }

    /// Sends `request` on a connection of its own, reads to its end, and returns how many bytes
    /// there were.
    std::int64_t fetch(std::string_view request);

private:
    Invitation m_invitation;
    std::vector<char> m_buffer;
};

/// A client in a process of its own, so that its memory does not count as the server's, and its
/// time does not include the server's start. Made before the server's threads are.
class ClientProcess {
public:
    /// `work` returns the seconds that it took.
    explicit ClientProcess(const std::function<double(Client&)>& work);
    ~ClientProcess();

    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    /// Has the client do its work with that server. Only once. Throws std::runtime_error where the
    /// client failed.
    double secondsWith(const Invitation& invitation);

private:
    Descriptor m_channel;
    pid_t m_process = 0;
};

} // namespace korvane
