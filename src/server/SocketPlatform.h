#pragma once

#include <cstdint>

/// What systems do differently about sockets.
namespace korvane::SocketPlatform {

/// Accepts a connection that no program started from here inherits; negative, with `errno`, where
/// there is none.
int accept(int listening);

/// Makes sending to a peer that is gone an error instead of a signal that ends the process:
/// here the socket's part of that, below the flags for each call.
void sendWithoutSignal(int descriptor);
int sendFlags();

/// Bytes in the system's send queue, which keeps them until the peer has acknowledged them.
std::int64_t unacknowledged(int descriptor);

} // namespace korvane::SocketPlatform
