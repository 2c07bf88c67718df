#include "pairing/Crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace korvane {

namespace {

constexpr qsizetype overhead = Envelope::nonceSize + Envelope::tagSize;

struct ContextFreer {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextFreer>;

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
    return count <= std::numeric_limits<int>::max() && RAND_bytes(to, static_cast<int>(count)) == 1;
}

/// The library counts in ints.
bool fits(std::size_t size)
{
    return size <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

/// Begins work on a body: key, nonce and authenticated data are set. Null where it fails.
Context begun(Direction direction, const unsigned char* key, const unsigned char* nonce,
    std::string_view authenticated)
{
    Context context(EVP_CIPHER_CTX_new());
    int ignored = 0;
    const bool good = context && fits(authenticated.size())
        && EVP_CipherInit_ex(
               context.get(), EVP_aes_256_gcm(), nullptr, key, nonce, static_cast<int>(direction))
            == 1
        && EVP_CipherUpdate(context.get(), nullptr, &ignored, raw(authenticated.data()),
               static_cast<int>(authenticated.size()))
            == 1;
    return good ? std::move(context) : nullptr;
}

bool encryptInPlace(EVP_CIPHER_CTX* context, std::span<char> text, char* tag)
{
    int written = 0;
    return EVP_CipherUpdate(
               context, raw(text.data()), &written, raw(text.data()), static_cast<int>(text.size()))
        == 1
        && EVP_CipherFinal_ex(context, raw(text.data()) + written, &written) == 1
        && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, Envelope::tagSize, tag) == 1;
}

bool decrypt(EVP_CIPHER_CTX* context, QByteArrayView ciphertext, QByteArrayView tag, char* text)
{
    std::array<char, Envelope::tagSize> expected{};
    std::copy(tag.begin(), tag.end(), expected.begin());
    int written = 0;
    return EVP_CipherUpdate(context, raw(text), &written, raw(ciphertext.data()),
               static_cast<int>(ciphertext.size()))
        == 1
        && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, Envelope::tagSize, expected.data())
        == 1
        && EVP_CipherFinal_ex(context, raw(text) + written, &written) == 1;
}

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
    OPENSSL_cleanse(m_bytes.data(), size);
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
    const Context cipher = begun(Direction::Seal, m_bytes.data(), raw(nonce), context);
    if (!cipher || !encryptInPlace(cipher.get(), text, text.data() + text.size()))
        return std::nullopt;
    return std::move(envelope.m_bytes);
}

std::optional<QByteArray> SymmetricKey::open(QByteArrayView sealed, std::string_view context) const
{
    if (sealed.size() < overhead || !fits(static_cast<std::size_t>(sealed.size())))
        return std::nullopt;
    const QByteArrayView ciphertext = sealed.sliced(Envelope::nonceSize, sealed.size() - overhead);
    const Context cipher = begun(Direction::Open, m_bytes.data(), raw(sealed.data()), context);
    QByteArray text(ciphertext.size(), Qt::Uninitialized);
    if (!cipher || !decrypt(cipher.get(), ciphertext, sealed.last(Envelope::tagSize), text.data()))
        return std::nullopt;
    return text;
}

QByteArray SymmetricKey::decryptUnverified(QByteArrayView sealed, qsizetype most) const
{
    if (sealed.size() < overhead)
        return {};
    const QByteArrayView ciphertext
        = sealed.sliced(Envelope::nonceSize, std::min(most, sealed.size() - overhead));
    const Context cipher = begun(Direction::Open, m_bytes.data(), raw(sealed.data()), {});
    QByteArray text(ciphertext.size(), '\0');
    int written = 0;
    if (cipher)
        EVP_CipherUpdate(cipher.get(), raw(text.data()), &written, raw(ciphertext.data()),
            static_cast<int>(ciphertext.size()));
    return text;
}

bool SymmetricKey::operator==(const SymmetricKey& other) const
{
    return CRYPTO_memcmp(m_bytes.data(), other.m_bytes.data(), size) == 0;
}

std::optional<QByteArray> randomBytes(qsizetype count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    return drawRandom(raw(bytes.data()), count) ? std::optional(std::move(bytes)) : std::nullopt;
}

bool isSameSecret(std::string_view claimed, std::string_view secret)
{
    return claimed.size() == secret.size()
        && CRYPTO_memcmp(claimed.data(), secret.data(), secret.size()) == 0;
}

} // namespace korvane
