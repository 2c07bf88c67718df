#pragma once

#include <QByteArray>

#include <array>
#include <optional>
#include <span>
#include <string_view>

/// AES-GCM and random bytes by OpenSSL, which only this folder calls. The functions may be called
/// from any thread.
namespace korvane {

/// A buffer in which a text is sealed in place: it has room for the nonce before the text and for
/// the tag after it. A sealed body is the 12-byte nonce, the ciphertext, which is as long as the
/// text, and the 16-byte tag (AES-GCM, NIST SP 800-38D, with a 96-bit nonce and a 128-bit tag).
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

    /// A new key from OpenSSL's cryptographic random generator. Nothing if that fails.
    static std::optional<SymmetricKey> make();

    /// Nothing unless there are exactly `size` bytes.
    static std::optional<SymmetricKey> fromBytes(QByteArrayView bytes);

    SymmetricKey(const SymmetricKey&) = default;
    SymmetricKey& operator=(const SymmetricKey&) = default;
    ~SymmetricKey();

    /// A copy of the key itself. It is not wiped, and the caller must keep it secret.
    QByteArray bytes() const;

    /// Encrypts the text with a new random nonce. `context` is authenticated, but not part of the
    /// result. Nothing if OpenSSL fails or the text has 2 GiB or more.
    std::optional<QByteArray> seal(Envelope envelope, std::string_view context) const;

    /// Decrypts a sealed body. Nothing if the key or the context is not the one that it was sealed
    /// with, or if the body was altered.
    std::optional<QByteArray> open(QByteArrayView sealed, std::string_view context) const;

    /// Decrypts at most the first `most` bytes of the text without checking the tag, so they may be
    /// forged. Use it only to tell a wrong key from a damaged body.
    QByteArray decryptUnverified(QByteArrayView sealed, qsizetype most) const;

    bool operator==(const SymmetricKey& other) const;

private:
    SymmetricKey() = default;

    std::array<unsigned char, size> m_bytes;
};

/// Frees what OpenSSL keeps for the calling thread. Call it last on a thread that used it:
/// OpenSSL's own thread-exit cleanup can race with process exit.
void endCryptoOnThread();

/// `count` bytes from OpenSSL's cryptographic random generator. Nothing if that fails.
std::optional<QByteArray> randomBytes(qsizetype count);

/// Compares a secret with what a client sent, in constant time for texts of the same length.
bool isSameSecret(std::string_view claimed, std::string_view secret);

} // namespace korvane
