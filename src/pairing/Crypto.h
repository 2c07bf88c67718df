#pragma once

#include <QByteArray>

#include <array>
#include <optional>
#include <span>
#include <string_view>

/// The only header behind which OpenSSL is called. Stateless; may be called from any thread.
namespace korvane {

/// A buffer in which a body is sealed in place: the text, with room before and after it. A sealed
/// body is 12 bytes of nonce, the ciphertext, as long as the text, and 16 bytes of tag (AES-GCM,
/// NIST SP 800-38D, with a 96-bit nonce and a 128-bit tag).
class Envelope {
public:
    static constexpr qsizetype nonceSize = 12;
    static constexpr qsizetype tagSize = 16;

    /// The text's bytes are not initialised.
    explicit Envelope(qsizetype textSize);
    explicit Envelope(std::string_view text);

    std::span<char> text();

    /// Keeps the first `textSize` bytes of the text.
    void shorten(qsizetype textSize);

private:
    friend class SymmetricKey;

    QByteArray m_bytes;
};

/// A 256-bit key for AES-GCM. The destructor wipes the key from memory. Comparison takes constant
/// time.
class SymmetricKey {
public:
    static constexpr std::size_t size = 32;

    /// A new key from the system's cryptographic random source; nothing where that fails.
    static std::optional<SymmetricKey> make();

    /// Nothing where `bytes` are not as many as a key has.
    static std::optional<SymmetricKey> fromBytes(QByteArrayView bytes);

    SymmetricKey(const SymmetricKey&) = default;
    SymmetricKey& operator=(const SymmetricKey&) = default;
    ~SymmetricKey();

    /// The key itself. The caller sees to it that it goes nowhere else.
    QByteArray bytes() const;

    /// Seals the text with a new random nonce, bound to `context`, which is authenticated but not
    /// contained. Nothing where the library or the random source fails.
    std::optional<QByteArray> seal(Envelope envelope, std::string_view context) const;

    /// The text of a sealed body; nothing where key, context or a bit of the body is not the one
    /// that it was sealed with.
    std::optional<QByteArray> open(QByteArrayView sealed, std::string_view context) const;

    /// At most the first `most` bytes of the text of a sealed body, whoever may have altered them:
    /// to tell a wrong key from a damaged body, and for nothing else.
    QByteArray decryptUnverified(QByteArrayView sealed, qsizetype most) const;

    bool operator==(const SymmetricKey& other) const;

private:
    SymmetricKey() = default;

    std::array<unsigned char, size> m_bytes;
};

/// Frees what OpenSSL keeps for the calling thread. Call it last on a thread that used it:
/// OpenSSL's own thread-exit cleanup can race with process exit.
void endCryptoOnThread();

/// `count` bytes from the system's cryptographic random source; nothing where that fails.
std::optional<QByteArray> randomBytes(qsizetype count);

/// Compares a secret with what a client sent, in constant time for texts of the same length.
bool isSameSecret(std::string_view claimed, std::string_view secret);

} // namespace korvane
