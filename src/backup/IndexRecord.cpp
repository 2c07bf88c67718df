#include "backup/IndexRecord.h"

#include "backup/BackupError.h"
#include "backup/PropertyList.h"

#include <limits>

namespace korvane {

namespace {

[[noreturn]] void throwDamaged(const std::string& what)
{
    throw BackupError("The index of the backup is damaged (" + what + "). Make the backup again.");
}

template <typename Integer>
Integer integerOf(const PropertyList::Value& object, const char* key)
{
    const auto value = object[key].integer();
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<Integer>::max());
    if (!value || *value > most)
        throwDamaged("a record without a valid " + std::string(key));
    return static_cast<Integer>(*value);
}

/// The bytes are an object themselves, or the only member of one.
std::string keyOf(const PropertyList::Value& object, const PropertyList::Value& objects)
{
    const PropertyList::Value key = object["EncryptionKey"];
    if (!key)
        return "";
    const auto reference = key.reference();
    const PropertyList::Value holder = reference ? objects.at(*reference) : key;
    const auto bytes = holder.data() ? holder.data() : holder["NS.data"].data();
    if (!bytes)
        throwDamaged("a record without its key");
    return wrappedKeyOf(*bytes);
}

} // namespace

IndexRecord IndexRecord::parse(std::string_view archive)
{
    const auto list = PropertyList::parse(archive);
    if (!list)
        throwDamaged("a record that is not a property list");
    const PropertyList::Value objects = (*list)["$objects"];
    const auto top = (*list)["$top"]["root"].reference();
    const PropertyList::Value object = top ? objects.at(*top) : objects["no object"];
    return {.size = integerOf<std::int64_t>(object, "Size"),
        .protectionClass = integerOf<std::uint32_t>(object, "ProtectionClass"),
        .wrappedKey = keyOf(object, objects)};
}

std::string wrappedKeyOf(std::string_view classAndKey)
{
    constexpr std::size_t classSize = 4;
    constexpr std::size_t wrappedKeySize = 40;
    if (classAndKey.size() != classSize + wrappedKeySize)
        throwDamaged("a key of " + std::to_string(classAndKey.size()) + " bytes");
    return std::string(classAndKey.substr(classSize));
}

} // namespace korvane
