#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane {

/// What the backup's index says about a file. From the column "file" of the table "Files": a keyed
/// archive, that is, a property list with an array "$objects", whose items refer to each other by
/// index. "$top" refers to the one with "Size", "ProtectionClass" and, if the file is encrypted,
/// "EncryptionKey", which refers to the key's bytes: the class again (32 bits, little-endian), then
/// the wrapped key.
struct IndexRecord {
    std::int64_t size = 0; ///< of the file, in bytes, not encrypted
    std::uint32_t protectionClass = 0;
    std::string wrappedKey; ///< 40 bytes (see unwrapKey()); empty if the file is not encrypted

    /// Throws BackupError if something is missing or absurd.
    static IndexRecord parse(std::string_view archive);

    bool operator==(const IndexRecord&) const = default;
};

/// The wrapped key after the four bytes of its class. Throws BackupError unless it has 40 bytes.
std::string wrappedKeyOf(std::string_view classAndKey);

} // namespace korvane
