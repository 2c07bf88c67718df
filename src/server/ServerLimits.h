#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace korvane {

/// How much strangers may ask of the server. A plain value; tests take smaller ones.
struct ServerLimits {
    using Duration = std::chrono::milliseconds;

    std::size_t connections = 256; ///< open at once
    std::size_t headBytes = 16'384; ///< received without the end of the head among them
    Duration headDeadline = std::chrono::seconds(15); ///< from being accepted to a whole head
    Duration stalled = std::chrono::seconds(60); ///< a peer takes nothing of its answer
    Duration farewell = std::chrono::seconds(2); ///< for the peer to close, once it has it all
    std::int64_t heldBytes = 17LL * 64 * 1024 * 1024; ///< of answers on their way, over all peers
};

} // namespace korvane
