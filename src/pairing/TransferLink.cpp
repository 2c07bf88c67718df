#include "pairing/TransferLink.h"

#include "pairing/Base64Url.h"

#include <QUrl>
#include <QUrlQuery>

namespace korvane {

namespace {

constexpr QLatin1String linkScheme("korvane");
constexpr QLatin1String linkHost("mac-import");

std::string encoded(const std::string& value)
{
    return QUrl::toPercentEncoding(QString::fromStdString(value), "!$'()*,:@/?").toStdString();
}

/// What the items of a link say, each where it can be used.
struct Items {
    explicit Items(const QUrlQuery& query) : m_query(query) { }

    std::string text(const QString& name) const
    {
        return m_query.queryItemValue(name, QUrl::FullyDecoded).toStdString();
    }

    std::optional<std::uint16_t> port() const
    {
        bool good = false;
        const ushort port = QByteArray::fromStdString(text(QStringLiteral("port"))).toUShort(&good);
        return good && port > 0 ? std::optional<std::uint16_t>(port) : std::nullopt;
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

std::optional<TransferLink> TransferLink::fromString(std::string_view text)
{
    const QUrl url(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).trimmed(),
        QUrl::StrictMode);
    if (url.scheme() != linkScheme || url.host() != linkHost)
        return std::nullopt;
    const Items items{QUrlQuery(url)};
    const std::string host = items.text(QStringLiteral("host"));
    const std::string ticket = items.text(QStringLiteral("ticket"));
    const auto port = items.port();
    const auto key = items.key();
    if (host.empty() || !port || !key || ticket.empty() || !fromBase64Url(ticket))
        return std::nullopt;
    return TransferLink{host, *port, ticket, *key};
}

} // namespace korvane
