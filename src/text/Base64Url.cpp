#include "text/Base64Url.h"

namespace korvane {

namespace {

constexpr auto urlForm = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

/// Stricter than Qt's decoder: the text, including padding and unused bits, must be exactly what
/// the encoder writes.
std::optional<QByteArray> decoded(const QByteArray& text, QByteArray::Base64Options form)
{
    QByteArray bytes = QByteArray::fromBase64(text, form);
    return bytes.toBase64(form) == text ? std::optional(std::move(bytes)) : std::nullopt;
}

} // namespace

std::string toBase64Url(const QByteArray& bytes)
{
    return bytes.toBase64(urlForm).toStdString();
}

std::optional<QByteArray> fromBase64Url(std::string_view text)
{
    return decoded(QByteArray(text.data(), static_cast<qsizetype>(text.size())), urlForm);
}

std::optional<QByteArray> fromBase64(const QByteArray& text)
{
    return decoded(text, QByteArray::Base64Encoding);
}

} // namespace korvane
