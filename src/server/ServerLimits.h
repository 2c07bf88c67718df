#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace korvane {

/// Limits on what peers, known or not, can cost the server. A plain value; tests use smaller ones.
struct ServerLimits {
    using Duration = std::chrono::milliseconds;

    std::size_t connections = 256; ///< open at once; fewer if the process has few descriptors
    std::size_t headBytes = 16'384; ///< a longer head that has no end yet closes the connection
    Duration headTimeout = std::chrono::seconds(15); ///< from accept to the end of the head
    Duration writeTimeout = std::chrono::seconds(60); ///< without an acknowledgement by the peer
    Duration lingerTimeout
        = std::chrono::seconds(2); ///< for the peer to close after it has acknowledged everything
    Duration answerTimeout = std::chrono::seconds(30); ///< for a whole answer without a body
    Duration answerTimePer64KiB = std::chrono::seconds(1); ///< in addition, per 64 KiB of body
    std::int64_t heldBytes = 17LL * 64 * 1024 * 1024; ///< of bodies being sent, over all peers
};

} // namespace korvane
