#pragma once

#include <QByteArray>

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// base64url without padding (RFC 4648, section 5): how tokens, tickets and keys are written where
/// "+", "/" and "=" would be in the way.
std::string toBase64Url(const QByteArray& bytes);

/// Nothing where `text` is not what toBase64Url() writes.
std::optional<QByteArray> fromBase64Url(std::string_view text);

/// The same in standard base64, with padding (RFC 4648, section 4).
std::optional<QByteArray> fromBase64(const QByteArray& text);

} // namespace korvane
