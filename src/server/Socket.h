#pragma once

#include "storage/Descriptor.h"

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace korvane {

/// Identifies the IPv4 address, or the /64 network of the IPv6 address, that a connection comes
/// from: a host can have any number of addresses in its /64. An IPv4 address, mapped into IPv6 or
/// not, is a number in the reserved network ::/8.
using PeerNetwork = std::uint64_t;

PeerNetwork networkOf(const sockaddr_storage& address);

/// The accepted end of a TCP connection; nothing here ever blocks. (Qt's own sockets close as soon
/// as the peer has closed its side, and so could not answer a client that sends its request and
/// says that this was all.) Used by one thread at a time.
class Socket {
public:
    /// Takes over the descriptor of a connected stream socket.
    explicit Socket(int descriptor);

    int descriptor() const { return m_descriptor.get(); }

    /// What came of an attempt to read or to send.
    enum class Status { Done, NotNow, Ended, Failed };

    struct Transferred {
        Status status = Status::Failed;
        std::size_t count = 0; ///< bytes, where Done
    };

    /// Reads some bytes; Ended where the peer sends no more.
    Transferred read(std::span<char> to) const;

    /// Sends as much of the two pieces, one after the other, as the system takes.
    Transferred send(std::string_view first, std::string_view second) const;

    /// Tells the peer that nothing more will be sent. Receiving goes on.
    void finishSending() const;

    /// Closes the descriptor. The system goes on sending what was written, unless input is unread.
    void close() { m_descriptor = Descriptor(); }

    /// Has close() reset the connection and discard what the peer has not acknowledged.
    void discardOnClose() const;

    /// False once the peer has reset the connection, or both sides have closed it. (After a FIN and
    /// a reset, reading only reports the end of the input.)
    bool isConnected() const;

    /// Bytes that were sent and that the peer has not acknowledged yet.
    std::int64_t unacknowledged() const;

private:
    Descriptor m_descriptor;
};

/// An IPv4 or IPv6 address as text; empty for anything else.
std::string numericHost(const sockaddr_storage& address);

} // namespace korvane
