#pragma once

#include "crypto/Secret.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

/// What opening an encrypted file with a password takes: key derivation, key unwrapping and AES in
/// CBC mode, all by OpenSSL. The functions may be called from any thread.
namespace korvane {

enum class Digest { Sha1, Sha256 };

/// A key of 32 bytes from a password by PBKDF2-HMAC (RFC 8018). Takes a second for some million
/// iterations and cannot be stopped. Nothing if OpenSSL fails, or if there are no iterations.
std::optional<Secret> deriveKey(
    Digest digest, const Secret& password, std::string_view salt, std::uint32_t iterations);

/// The 32-byte key that was wrapped into 40 bytes with another one of 32 bytes (RFC 3394). Nothing
/// if it was wrapped with a different key, which the RFC's integrity check shows.
std::optional<Secret> unwrapKey(const Secret& wrappingKey, std::string_view wrapped);

/// AES-256-CBC with an initialisation vector of zeros, block by block. Leaves the padding to its
/// user, who knows how long the text is. Used by one thread at a time.
class CbcDecryption {
public:
    static constexpr std::size_t blockSize = 16;

    /// Converts to false if the key does not have 32 bytes or OpenSSL fails.
    explicit CbcDecryption(const Secret& key);
    ~CbcDecryption();
    CbcDecryption(CbcDecryption&&) noexcept;
    CbcDecryption& operator=(CbcDecryption&&) noexcept;

    explicit operator bool() const { return m_state != nullptr; }

    /// Replaces the next bytes of the text, whole blocks and less than 2 GiB, by what they stand
    /// for. Returns false if OpenSSL fails.
    bool decryptInPlace(std::span<char> blocks);

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace korvane
