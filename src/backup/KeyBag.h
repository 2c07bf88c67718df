#pragma once

#include "crypto/Secret.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// One round of deriving a key from a password.
struct DerivationRound {
    std::string salt;
    std::uint32_t iterations = 0;
};

/// The key of a protection class.
struct ClassKey {
    std::uint32_t protectionClass = 0;
    std::uint32_t wrap = 0; ///< what it is wrapped with, see KeyBag
    std::string wrapped;
};

/// The keys of an encrypted backup, one for each protection class, wrapped with a key that is
/// derived from the password. From "BackupKeyBag" in Manifest.plist:
///
/// Entries follow one another: a tag of four letters, the length of the value (32 bits,
/// big-endian), the value. Integers are values of four bytes, big-endian. The first entries concern
/// the whole bag: among others, SALT and ITER, the salt and the iterations of the last PBKDF2
/// round, and DPSL and DPIC, those of the round before it, which older backups do not have. Each
/// further UUID begins a class: CLAS is its number, WPKY its key, wrapped (RFC 3394), and WRAP says
/// with what: bit 1 stands for a key that never leaves the phone, bit 2 for that of the password.
///
/// Used by one thread at a time.
class KeyBag {
public:
    /// The class keys that the password unlocks, by class.
    using Keys = std::map<std::uint32_t, Secret>;

    /// Throws BackupError if the entries are damaged, or if deriving the key would take hours.
    static KeyBag parse(std::string_view bytes);

    /// Takes seconds, see deriveKey(). Nothing if the password is wrong. Throws BackupError if
    /// OpenSSL fails.
    std::optional<Keys> unlock(const Secret& password) const;

private:
    friend class KeyBagReader;

    Secret keyOf(const Secret& password) const;

    std::optional<DerivationRound> m_firstRound; ///< absent in older backups
    DerivationRound m_lastRound;
    std::vector<ClassKey> m_classes; ///< those that a password unlocks
};

} // namespace korvane
