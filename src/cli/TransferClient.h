#pragma once

#include "pairing/TransferLink.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <functional>

namespace korvane {

/// The receiving side of a transfer, as a phone would do it.
namespace TransferClient {

/// Called as the body arrives: bytes received so far, and the size of the body (-1 = not known).
using Progress = std::function<void(std::int64_t received, std::int64_t total)>;

/// Timeouts of a fetch. Tests set shorter ones.
struct Limits {
    std::chrono::milliseconds idle = std::chrono::seconds(60); ///< to connect, or to the next bytes
    std::chrono::milliseconds total = std::chrono::minutes(15);
};

/// Fetches the sealed answer to the link's request. Runs an event loop on the calling thread until
/// it has arrived. Throws std::runtime_error, whose text says what went wrong and holds nothing
/// secret.
QByteArray fetch(const TransferLink& link, const Progress& progress, const Limits& limits = {});

/// Decrypts and authenticates a sealed answer. Throws std::runtime_error as above.
QByteArray open(const TransferLink& link, const QByteArray& sealed);

} // namespace TransferClient

} // namespace korvane
