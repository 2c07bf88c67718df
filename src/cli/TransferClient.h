#pragma once

#include "pairing/TransferLink.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <functional>

namespace korvane {

/// The phone's side of a transfer.
namespace TransferClient {

/// Called now and then: bytes that have arrived, and that there will be (-1 = not known yet).
using Progress = std::function<void(std::int64_t received, std::int64_t total)>;

/// How long a fetch may take. Tests take less.
struct Limits {
    std::chrono::milliseconds idle = std::chrono::seconds(60); ///< nothing comes, or gets through
    std::chrono::milliseconds total = std::chrono::minutes(15);
};

/// The sealed answer to the link's request. Throws std::runtime_error, whose text says what went
/// wrong and holds nothing secret. Runs an event loop on the calling thread meanwhile.
QByteArray fetch(const TransferLink& link, const Progress& progress, const Limits& limits = {});

/// The text of a sealed answer. Throws std::runtime_error as above.
QByteArray open(const TransferLink& link, const QByteArray& sealed);

} // namespace TransferClient

} // namespace korvane
