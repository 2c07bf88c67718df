#include "pairing/Pairing.h"

#include "storage/Files.h"
#include "text/Base64Url.h"
#include "text/Json.h"
#include "text/JsonReader.h"

#include <stdexcept>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view pairingFile = "pairing.json";

std::optional<SymmetricKey> keyFrom(const std::string& base64)
{
    const auto bytes = fromBase64(QByteArray::fromStdString(base64));
    return bytes ? SymmetricKey::fromBytes(*bytes) : std::nullopt;
}

/// The text of the member `key` of a record; of the last one, if there are several.
std::string lastText(const JsonReader::Value& record, std::string_view key)
{
    const JsonReader::Value* last = nullptr;
    for (const auto& [name, value] : record.GetObject()) {
        if (std::string_view(name.GetString(), name.GetStringLength()) == key)
            last = &value;
    }
    return last ? JsonReader::text(*last) : throw JsonReader::Malformed();
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
        throw std::runtime_error("The random generator failed.");
    return {toBase64Url(*token), *key};
}

Pairing Pairing::load(const SupportFolder& support)
{
    const auto json = Files::read(support.file(pairingFile));
    auto pairing = json ? fromJson(*json) : std::nullopt;
    if (!pairing)
        return PairingStore::reset(support);
    closeToOthers(support.file(pairingFile));
    return std::move(*pairing);
}

std::string Pairing::toJson() const
{
    return Json::Object()
        .text("key", key.bytes().toBase64().toStdString())
        .text("token", token)
        .finished();
}

std::optional<Pairing> Pairing::fromJson(std::string_view json)
try {
    const auto document = JsonReader::parsed(json);
    const JsonReader::Value& record = JsonReader::object(document);
    const std::string token = lastText(record, "token");
    const auto key = keyFrom(lastText(record, "key"));
    return key ? std::optional(Pairing{token, *key}) : std::nullopt;
} catch (const JsonReader::Malformed&) {
    return std::nullopt;
}

Pairing PairingStore::reset(const SupportFolder& support)
{
    Pairing pairing = Pairing::make();
    try {
        Files::writeAtomically(
            support.file(pairingFile), pairing.toJson(), Files::Access::OwnerOnly);
    } catch (const std::system_error&) { // not saved: the next start makes another one
    }
    return pairing;
}

} // namespace korvane
