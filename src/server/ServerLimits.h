#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace korvane {

/// How much strangers may ask of the server. A plain value; tests take smaller ones.
struct ServerLimits {
    using Duration = std::chrono::milliseconds;

    std::size_t connections = 256; ///< open at once; fewer where the process has few descriptors
    std::size_t headBytes = 16'384; ///< received without the end of the head among them
    Duration headTimeout = std::chrono::seconds(15); ///< from accept to the end of the head
    Duration writeTimeout = std::chrono::seconds(60); ///< without an acknowledgement by the peer
    Duration lingerTimeout
        = std::chrono::seconds(2); ///< for the peer to close after it has acknowledged everything
    Duration answerTimeout = std::chrono::seconds(30); ///< for a whole answer, and in addition
    Duration answerTimePer64KiB = std::chrono::seconds(1); ///< of its body
    std::int64_t heldBytes = 17LL * 64 * 1024 * 1024; ///< of answers on their way, over all peers
};

} // namespace korvane
