#include "pairing/Pairing.h"

#include "storage/Files.h"
#include "storage/Paths.h"
#include "text/Base64Url.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <stdexcept>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr auto tokenMember = QLatin1String("token");
constexpr auto keyMember = QLatin1String("key");

fs::path pairingFile()
{
    return Paths::support() / "pairing.json";
}

std::optional<SymmetricKey> keyFrom(const QString& base64)
{
    const auto bytes = fromBase64(base64.toUtf8());
    return bytes ? SymmetricKey::fromBytes(*bytes) : std::nullopt;
}

/// Sets the mode to 0600 if others have access, as they may after a restore from a backup. Ignores
/// errors.
void closeToOthers(const fs::path& file)
{
    std::error_code ignored;
    const fs::perms mode = fs::status(file, ignored).permissions();
    if (!ignored && (mode & (fs::perms::group_all | fs::perms::others_all)) != fs::perms::none)
        fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, ignored);
}

} // namespace

Pairing Pairing::make()
{
    constexpr qsizetype tokenBytes = 16;
    const auto token = randomBytes(tokenBytes);
    const auto key = SymmetricKey::make();
    if (!token || !key)
        throw std::runtime_error("The system gives no random bytes.");
    return {toBase64Url(*token), *key};
}

Pairing Pairing::load()
{
    const auto json = Files::read(pairingFile());
    auto pairing = json ? fromJson(QByteArray::fromStdString(*json)) : std::nullopt;
    if (!pairing)
        return PairingStore::reset();
    closeToOthers(pairingFile());
    return std::move(*pairing);
}

QByteArray Pairing::toJson() const
{
    const QJsonObject record{{tokenMember, QString::fromStdString(token)},
        {keyMember, QString::fromLatin1(key.bytes().toBase64())}};
    return QJsonDocument(record).toJson(QJsonDocument::Compact);
}

std::optional<Pairing> Pairing::fromJson(const QByteArray& json)
{
    const QJsonDocument record = QJsonDocument::fromJson(json);
    const QJsonValue token = record[tokenMember];
    const auto key = keyFrom(record[keyMember].toString());
    if (!token.isString() || !key)
        return std::nullopt;
    return Pairing{token.toString().toStdString(), *key};
}

Pairing PairingStore::reset()
{
    Pairing pairing = Pairing::make();
    const QByteArray json = pairing.toJson();
    try {
        Files::writeAtomically(pairingFile(), {json.data(), static_cast<std::size_t>(json.size())},
            Files::Access::OwnerOnly);
    } catch (const std::system_error&) { // not saved: the next start makes another one
    }
    return pairing;
}

} // namespace korvane
