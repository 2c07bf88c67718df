#pragma once

#include "storage/Descriptor.h"

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace korvane {

/// Identifies where a connection comes from: the IPv4 address, or the /64 prefix of the IPv6
/// address, because a host can use any number of addresses in its /64. An IPv4 address, IPv4-mapped
/// or not, becomes a number in the reserved prefix ::/8 and so equals no host's /64.
using PeerNetwork = std::uint64_t;

PeerNetwork networkOf(const sockaddr_storage& address);

/// The accepted end of a TCP connection, non-blocking. Used by one thread at a time. Qt's own
/// sockets do not fit: they close as soon as the peer half-closes, so that a client that does so
/// after its request would get no answer.
class Socket {
public:
    /// Accepts a connection as a close-on-exec descriptor and stores the peer's address. Negative,
    /// with `errno` set, on failure. The address must be read here: getpeername() fails once the
    /// peer has reset the connection.
    static int accept(int listening, sockaddr_storage& peer);

    /// Takes ownership of the descriptor of a connected stream socket.
    explicit Socket(int descriptor);

    /// The outcome of read() or send(). NotNow: try again once the socket is ready.
    enum class Status { Done, NotNow, Ended, Failed };

    struct Transferred {
        Status status = Status::Failed;
        std::size_t count = 0; ///< bytes, if Done
    };

    /// Reads at most `to.size()` bytes. Ended if the peer has shut down its sending side.
    Transferred read(std::span<char> to) const;

    /// Sends `first` and then `second`, as much of them as fits into the kernel's send queue.
    Transferred send(std::string_view first, std::string_view second) const;

    /// Half-closes: sends a FIN. Receiving goes on.
    void finishSending() const;

    /// Closes the descriptor. The kernel still sends what was written, unless there is unread
    /// input: then it resets the connection.
    void close() { m_descriptor = Descriptor(); }

    /// Makes close() reset the connection and discard what the peer has not acknowledged.
    void discardOnClose() const;

    /// False once the peer has reset the connection, or both sides have closed it. Reading cannot
    /// tell: if the peer sent a FIN before its reset, read() reports the end of the input only.
    bool isConnected() const;

    /// Bytes that were sent and that the peer has not acknowledged yet: those in the kernel's send
    /// queue. On Linux, an unacknowledged FIN counts as one.
    std::int64_t unacknowledged() const;

    /// Guesses whether a peer that has reset the connection had received the whole answer of `size`
    /// bytes. The kernel ignores the acknowledgement in the reset itself, and a receiver may delay
    /// that of its last two segments (RFC 9293, section 3.8.6.3). So the last two segments count as
    /// received if everything before them, and at least one byte, was acknowledged. Always false on
    /// macOS, which empties its send queue on a reset.
    bool hadAllAtReset(std::int64_t size) const;

private:
    /// Sending to a peer that is gone must fail with EPIPE instead of raising SIGPIPE, which would
    /// kill the process. macOS has a socket option for that, which sendWithoutSignal() sets. Linux
    /// has a flag for each call, which sendFlags() returns.
    void sendWithoutSignal() const;
    static int sendFlags();

    int descriptor() const { return m_descriptor.get(); }

    Descriptor m_descriptor;
};

/// An IPv4 or IPv6 address as text, without the prefix "::ffff:" of an IPv4-mapped one. Empty for
/// anything else.
std::string numericHost(const sockaddr_storage& address);

} // namespace korvane
