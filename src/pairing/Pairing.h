#pragma once

#include "crypto/Crypto.h"
#include "storage/Paths.h"

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The secrets that a permanently paired phone shares with this machine. A plain value.
///
/// They are kept in the file "pairing.json" in the support folder, with mode 0600: one compact JSON
/// object,
///
///     {"key":"<the 32 bytes in standard base64>","token":"<the token>"}
///
/// load() accepts the members in any order and ignores others; the last of a name counts. It sets
/// the mode to 0600 again if others have access. If the file is missing, is not such an object, or
/// has a key that is not the base64 of 32 bytes, load() replaces it by a new record.
struct Pairing {
    std::string token; ///< bearer token: 16 random bytes as 22 characters of base64url
    SymmetricKey key; ///< seals the answers to the paired phone

    bool operator==(const Pairing&) const = default;

    /// A new record. Throws std::runtime_error if the random generator fails.
    static Pairing make();

    /// The record on disk. If there is none or it is invalid, makes a new one, see
    /// PairingStore::reset(). Throws what make() throws.
    static Pairing load(const SupportFolder& support);

    std::string toJson() const;
    static std::optional<Pairing> fromJson(std::string_view json);
};

namespace PairingStore {

/// Makes a new record and saves it. If saving fails, the record is returned all the same, and the
/// next start makes another one.
Pairing reset(const SupportFolder& support);

} // namespace PairingStore

} // namespace korvane
