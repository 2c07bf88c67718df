#pragma once

#include "pairing/Crypto.h"

#include <optional>
#include <string>

namespace korvane {

/// What a phone that is paired for good shares with this machine. A plain value.
///
/// It is kept in the file "pairing.json" in the support folder, readable by its owner alone (mode
/// 0600): one compact JSON object,
///
///     {"key":"<the 32 bytes in standard base64>","token":"<the token>"}
///
/// Reading takes the members in any order and ignores others, and gives a file that others may read
/// or write the mode 0600 again. A file that is missing, is no such object, or whose key is not the
/// base64 of 32 bytes is replaced by a new record.
struct Pairing {
    std::string token; ///< the bearer token: 16 random bytes as 22 characters of base64url
    SymmetricKey key; ///< seals the answers to the paired phone

    bool operator==(const Pairing&) const = default;

    /// A new record. Throws std::runtime_error where the system has no random bytes to give.
    static Pairing make();

    /// The record on disk, or a new one, saved, where there is none that can be read.
    static Pairing load();

    QByteArray toJson() const;
    static std::optional<Pairing> fromJson(const QByteArray& json);
};

namespace PairingStore {

/// Makes a new record and saves it. Where saving fails the record is returned all the same, and
/// the next start makes another one.
Pairing reset();

} // namespace PairingStore

} // namespace korvane
