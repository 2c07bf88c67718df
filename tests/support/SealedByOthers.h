#pragma once

#include <QByteArray>

#include <optional>
#include <string_view>

namespace korvane {

/// AES-256-GCM by Nettle, which the program does not use: an error in the program's own code cannot
/// cancel itself out. Sealed bytes are nonce, ciphertext and tag; `context` is authenticated only.
namespace SealedByOthers {

std::optional<QByteArray> open(QByteArrayView key, QByteArrayView sealed, std::string_view context);

QByteArray seal(
    QByteArrayView key, QByteArrayView nonce, QByteArrayView text, std::string_view context);

} // namespace SealedByOthers

} // namespace korvane
