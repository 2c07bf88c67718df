#pragma once

#include <QByteArray>

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// base64url without padding (RFC 4648, section 5), for tokens, tickets and keys in URLs and HTTP
/// headers.
std::string toBase64Url(const QByteArray& bytes);

/// Nothing if `text` is not exactly what toBase64Url() writes.
std::optional<QByteArray> fromBase64Url(std::string_view text);

/// Decodes standard base64 with padding (RFC 4648, section 4), as strictly.
std::optional<QByteArray> fromBase64(const QByteArray& text);

} // namespace korvane
