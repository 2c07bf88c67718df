#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace korvane {

/// Limits on what peers, known or not, can cost the server. A plain value; tests use smaller ones.
struct ServerLimits {
    using Duration = std::chrono::milliseconds;

    std::size_t connections = 256; ///< open at once; fewer if the process has few descriptors
    std::size_t headBytes = 16'384; ///< a longer head that has no end yet closes the connection
    Duration headTimeout = std::chrono::seconds(15); ///< from accept to the end of the head

    /// The idle timeout of a connection: how long its peer may acknowledge nothing of its answer.
    Duration writeTimeout = std::chrono::seconds(60);

    Duration lingerTimeout
        = std::chrono::seconds(2); ///< for the peer to close after it has acknowledged everything
    Duration answerTimeout = std::chrono::seconds(30); ///< for a whole answer without a body
    Duration answerTimePer64KiB = std::chrono::seconds(1); ///< in addition, per 64 KiB of body
    std::int64_t heldBytes = 17LL * 64 * 1024 * 1024; ///< of bodies being sent, over all peers
};

/// Settings of the server that only tests change.
struct ServerOptions {
    std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
    ServerLimits limits;
    std::string address; ///< numeric address to listen on; empty for all addresses
};

} // namespace korvane
