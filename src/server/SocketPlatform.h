#pragma once

#include <sys/socket.h>

#include <cstdint>

/// Socket calls that differ between Linux and macOS.
namespace korvane::SocketPlatform {

/// Accepts a connection as a close-on-exec descriptor and stores the peer's address. Negative, with
/// `errno` set, on failure. The address must be read here: getpeername() fails once the peer has
/// reset the connection.
int accept(int listening, sockaddr_storage& peer);

/// Sending to a peer that is gone must fail with EPIPE instead of raising SIGPIPE, which would kill
/// the process. macOS has a socket option for that, which sendWithoutSignal() sets. Linux has a
/// flag for each call, which sendFlags() returns.
void sendWithoutSignal(int descriptor);
int sendFlags();

/// Bytes in the kernel's send queue, which keeps them until the peer has acknowledged them.
std::int64_t unacknowledged(int descriptor);

/// Guesses whether a peer that has reset the connection had received the whole answer of `size`
/// bytes. The kernel ignores the acknowledgement in the reset itself, and a receiver may delay that
/// of its last two segments (RFC 9293, section 3.8.6.3). So the last two segments count as received
/// if everything before them, and at least one byte, was acknowledged. Always false on macOS, which
/// empties its send queue on a reset.
bool hadAllAtReset(int descriptor, std::int64_t size);

} // namespace korvane::SocketPlatform
