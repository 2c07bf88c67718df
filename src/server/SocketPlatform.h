#pragma once

#include <sys/socket.h>

#include <cstdint>

/// What systems do differently about sockets.
namespace korvane::SocketPlatform {

/// Accepts a connection that no program started from here inherits, and says where it comes from;
/// negative, with `errno`, where there is none. The address has to be taken here: getpeername()
/// fails once the peer has reset the connection.
int accept(int listening, sockaddr_storage& peer);

/// Makes sending to a peer that is gone an error instead of a signal that ends the process:
/// here the socket's part of that, below the flags for each call.
void sendWithoutSignal(int descriptor);
int sendFlags();

/// Bytes in the system's send queue, which keeps them until the peer has acknowledged them.
std::int64_t unacknowledged(int descriptor);

/// Whether a peer that has reset the connection had received the whole answer of `size` bytes. The
/// acknowledgement in the reset itself is not counted, and a receiver may hold back that of its
/// last two segments (RFC 9293, section 3.8.6.3), so these are taken to have arrived if everything
/// before them was acknowledged. False on a system that empties its send queue on a reset.
bool hadAllAtReset(int descriptor, std::int64_t size);

} // namespace korvane::SocketPlatform
