#pragma once

#include <QByteArray>

#include <optional>
#include <string_view>

namespace korvane {

/// AES-256-GCM by a library that the program does not use, so that both sides of a seal are not
/// of one make. Nonce, ciphertext and tag stand one after the other.
namespace SealedByOthers {

std::optional<QByteArray> open(QByteArrayView key, QByteArrayView sealed, std::string_view context);

QByteArray seal(
    QByteArrayView key, QByteArrayView nonce, QByteArrayView text, std::string_view context);

} // namespace SealedByOthers

} // namespace korvane
