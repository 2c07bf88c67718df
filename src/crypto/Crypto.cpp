#include "crypto/Crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace korvane {

namespace {

constexpr qsizetype overhead = Envelope::nonceSize + Envelope::tagSize;

struct FreeContext {
    void operator()(EVP_CIPHER_CTX* context) const { ::EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>;

enum class Direction { Open = 0, Seal = 1 };

unsigned char* raw(char* bytes)
{
    return reinterpret_cast<unsigned char*>(bytes);
}

const unsigned char* raw(const char* bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes);
}

bool drawRandom(unsigned char* to, qsizetype count)
{
    return count <= std::numeric_limits<int>::max()
        && ::RAND_bytes(to, static_cast<int>(count)) == 1;
}

/// In constant time: compares every byte, wherever the first difference is.
bool areSame(QByteArrayView first, QByteArrayView second)
{
    return first.size() == second.size()
        && ::CRYPTO_memcmp(first.data(), second.data(), static_cast<std::size_t>(first.size()))
        == 0;
}

/// OpenSSL takes sizes as int.
bool fits(std::size_t size)
{
    return size <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

/// AES-256-GCM over one body.
class Cipher {
public:
    /// Sets key, nonce and authenticated data. Converts to false if that failed.
    Cipher(Direction direction, const unsigned char* key, const unsigned char* nonce,
        std::string_view authenticated)
        : m_context(::EVP_CIPHER_CTX_new())
        , m_isGood(m_context && fits(authenticated.size()) && begin(direction, key, nonce)
              && update(raw(authenticated.data()), authenticated.size(), nullptr))
    {
    }

    explicit operator bool() const { return m_isGood; }

    bool encryptInPlace(std::span<char> text, char* tag)
    {
        return update(raw(text.data()), text.size(), raw(text.data())) && finish()
            && control(EVP_CTRL_GCM_GET_TAG, tag);
    }

    /// Does not verify the text: isGenuine() does.
    bool decrypt(QByteArrayView ciphertext, char* text)
    {
        return update(
            raw(ciphertext.data()), static_cast<std::size_t>(ciphertext.size()), raw(text));
    }

    bool isGenuine(QByteArrayView tag)
    {
        std::array<char, Envelope::tagSize> expected{};
        std::copy(tag.begin(), tag.end(), expected.begin());
        return control(EVP_CTRL_GCM_SET_TAG, expected.data()) && finish();
    }

private:
    bool begin(Direction direction, const unsigned char* key, const unsigned char* nonce)
    {
        return ::EVP_CipherInit_ex(m_context.get(), ::EVP_aes_256_gcm(), nullptr, key, nonce,
                   static_cast<int>(direction))
            == 1;
    }

    bool update(const unsigned char* from, std::size_t count, unsigned char* to)
    {
        int written = 0;
        return ::EVP_CipherUpdate(m_context.get(), to, &written, from, static_cast<int>(count))
            == 1;
    }

    bool finish()
    {
        // GCM has no padding, so this writes nothing.
        std::array<unsigned char, EVP_MAX_BLOCK_LENGTH> none{};
        int written = 0;
        return ::EVP_CipherFinal_ex(m_context.get(), none.data(), &written) == 1;
    }

    bool control(int command, char* tag)
    {
        return ::EVP_CIPHER_CTX_ctrl(m_context.get(), command, Envelope::tagSize, tag) == 1;
    }

    const Context m_context;
    const bool m_isGood;
};

} // namespace

Envelope::Envelope(qsizetype textSize) : m_bytes(textSize + overhead, Qt::Uninitialized) { }

Envelope::Envelope(std::string_view text) : Envelope(static_cast<qsizetype>(text.size()))
{
    std::copy(text.begin(), text.end(), this->text().begin());
}

std::span<char> Envelope::text()
{
    return {m_bytes.data() + nonceSize, static_cast<std::size_t>(m_bytes.size() - overhead)};
}

void Envelope::shorten(qsizetype textSize)
{
    m_bytes.truncate(textSize + overhead);
}

std::optional<SymmetricKey> SymmetricKey::make()
{
    SymmetricKey key;
    return drawRandom(key.m_bytes.data(), size) ? std::optional(key) : std::nullopt;
}

std::optional<SymmetricKey> SymmetricKey::fromBytes(QByteArrayView bytes)
{
    if (bytes.size() != size)
        return std::nullopt;
    SymmetricKey key;
    std::copy(bytes.begin(), bytes.end(), key.m_bytes.begin());
    return key;
}

SymmetricKey::~SymmetricKey()
{
    ::OPENSSL_cleanse(m_bytes.data(), m_bytes.size());
}

QByteArray SymmetricKey::bytes() const
{
    return {reinterpret_cast<const char*>(m_bytes.data()), size};
}

std::optional<QByteArray> SymmetricKey::seal(Envelope envelope, std::string_view context) const
{
    const std::span<char> text = envelope.text();
    char* nonce = envelope.m_bytes.data();
    if (!fits(text.size()) || !drawRandom(raw(nonce), Envelope::nonceSize))
        return std::nullopt;
    Cipher cipher(Direction::Seal, m_bytes.data(), raw(nonce), context);
    if (!cipher || !cipher.encryptInPlace(text, text.data() + text.size()))
        return std::nullopt;
    return std::move(envelope.m_bytes);
}

std::optional<QByteArray> SymmetricKey::open(QByteArrayView sealed, std::string_view context) const
{
    if (sealed.size() < overhead || !fits(static_cast<std::size_t>(sealed.size())))
        return std::nullopt;
    const QByteArrayView ciphertext = sealed.sliced(Envelope::nonceSize, sealed.size() - overhead);
    Cipher cipher(Direction::Open, m_bytes.data(), raw(sealed.data()), context);
    QByteArray text(ciphertext.size(), Qt::Uninitialized);
    if (!cipher || !cipher.decrypt(ciphertext, text.data())
        || !cipher.isGenuine(sealed.last(Envelope::tagSize)))
        return std::nullopt;
    return text;
}

QByteArray SymmetricKey::decryptUnverified(QByteArrayView sealed, qsizetype most) const
{
    if (sealed.size() < overhead)
        return {};
    const QByteArrayView ciphertext
        = sealed.sliced(Envelope::nonceSize, std::min(most, sealed.size() - overhead));
    Cipher cipher(Direction::Open, m_bytes.data(), raw(sealed.data()), {});
    QByteArray text(ciphertext.size(), '\0');
    if (cipher)
        cipher.decrypt(ciphertext, text.data());
    return text;
}

bool SymmetricKey::operator==(const SymmetricKey& other) const
{
    return areSame(m_bytes, other.m_bytes);
}

void endCryptoOnThread()
{
    ::OPENSSL_thread_stop();
}

std::optional<QByteArray> randomBytes(qsizetype count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    return drawRandom(raw(bytes.data()), count) ? std::optional(std::move(bytes)) : std::nullopt;
}

bool isSameSecret(std::string_view claimed, std::string_view secret)
{
    return areSame(claimed, secret);
}

} // namespace korvane
