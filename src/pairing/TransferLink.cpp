#include "pairing/TransferLink.h"

#include "text/Base64Url.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace korvane {

namespace {

constexpr QLatin1String linkScheme("korvane");
constexpr QLatin1String linkHost("mac-import");

std::string encoded(const std::string& value)
{
    return QUrl::toPercentEncoding(QString::fromStdString(value), "!$'()*,:@/?").toStdString();
}

/// The query items of a link, decoded. Each function returns nothing if its item is missing or
/// invalid.
struct Items {
    explicit Items(const QUrlQuery& query) : m_query(query) { }

    std::string text(const QString& name) const
    {
        return m_query.queryItemValue(name, QUrl::FullyDecoded).toStdString();
    }

    std::optional<std::string> host() const
    {
        std::string host = text(QStringLiteral("host"));
        return TransferLink::isHost(host) ? std::optional(std::move(host)) : std::nullopt;
    }

    std::optional<std::uint16_t> port() const
    {
        const std::string digits = text(QStringLiteral("port"));
        std::uint16_t port = 0;
        const char* end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, port);
        const bool good = error == std::errc() && stop == end && port > 0;
        return good ? std::optional(port) : std::nullopt;
    }

    /// Returned as text, not as bytes: it is part of the request target, which the seal of the
    /// answer authenticates.
    std::optional<std::string> ticket() const
    {
        constexpr qsizetype ticketBytes = 32;
        std::string ticket = text(QStringLiteral("ticket"));
        const auto bytes = fromBase64Url(ticket);
        const bool good = bytes && bytes->size() == ticketBytes;
        return good ? std::optional(std::move(ticket)) : std::nullopt;
    }

    std::optional<SymmetricKey> key() const
    {
        const auto bytes = fromBase64Url(text(QStringLiteral("key")));
        return bytes ? SymmetricKey::fromBytes(*bytes) : std::nullopt;
    }

private:
    const QUrlQuery m_query;
};

} // namespace

std::string TransferLink::toString() const
{
    return "korvane://mac-import?host=" + encoded(host) + "&port=" + std::to_string(port)
        + "&ticket=" + encoded(ticket) + "&key=" + toBase64Url(key.bytes());
}

bool TransferLink::isHost(std::string_view text)
{
    constexpr std::string_view others = ".-_:[]%"; // "[fe80::1%en0]"
    return !text.empty() && std::all_of(text.begin(), text.end(), [=](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0
            || others.find(letter) != others.npos;
    });
}

std::optional<TransferLink> TransferLink::fromString(std::string_view text)
{
    const QUrl url(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).trimmed(),
        QUrl::StrictMode);
    if (url.scheme() != linkScheme || url.host() != linkHost)
        return std::nullopt;
    const Items items{QUrlQuery(url)};
    const auto host = items.host();
    const auto port = items.port();
    const auto ticket = items.ticket();
    const auto key = items.key();
    if (!host || !port || !ticket || !key)
        return std::nullopt;
    return TransferLink{*host, *port, *ticket, *key};
}

} // namespace korvane
