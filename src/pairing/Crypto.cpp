#include "pairing/Crypto.h"

#include "pairing/OpenSsl.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace korvane {

namespace {

constexpr qsizetype overhead = Envelope::nonceSize + Envelope::tagSize;

using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(OpenSsl::freeContext)>;

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
    const OpenSsl* library = OpenSsl::load();
    return library && count <= std::numeric_limits<int>::max()
        && library->randomBytes(to, static_cast<int>(count)) == 1;
}

/// Looks at every byte, wherever the first difference is.
bool areSame(QByteArrayView first, QByteArrayView second)
{
    volatile unsigned char difference = 0; // no compiler may leave early
    for (qsizetype i = 0; i < first.size(); ++i)
        difference = difference | static_cast<unsigned char>(first[i] ^ second[i]);
    return difference == 0;
}

/// Not left out by the compiler, though nobody reads what it writes.
void wipe(std::span<unsigned char> bytes)
{
    volatile unsigned char* const to = bytes.data();
    for (std::size_t i = 0; i < bytes.size(); ++i)
        to[i] = 0;
}

/// The library counts in ints.
bool fits(std::size_t size)
{
    return size <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

/// Work on one body.
class Cipher {
public:
    /// With key, nonce and authenticated data set. Tells whether that worked.
    Cipher(Direction direction, const unsigned char* key, const unsigned char* nonce,
        std::string_view authenticated)
        : m_library(OpenSsl::load())
        , m_context(m_library ? m_library->newContext() : nullptr,
              m_library ? m_library->freeContext : nullptr)
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

    /// Without the tag's proof that nobody has altered it.
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
        return m_library->init(m_context.get(), m_library->aes256Gcm(), nullptr, key, nonce,
                   static_cast<int>(direction))
            == 1;
    }

    bool update(const unsigned char* from, std::size_t count, unsigned char* to)
    {
        int written = 0;
        return m_library->update(m_context.get(), to, &written, from, static_cast<int>(count)) == 1;
    }

    bool finish()
    {
        std::array<unsigned char, EVP_MAX_BLOCK_LENGTH> none{}; // a stream leaves nothing over
        int written = 0;
        return m_library->final(m_context.get(), none.data(), &written) == 1;
    }

    bool control(int command, char* tag)
    {
        return m_library->control(m_context.get(), command, Envelope::tagSize, tag) == 1;
    }

    const OpenSsl* const m_library;
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
    wipe(m_bytes);
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
    if (const OpenSsl* library = OpenSsl::loaded())
        library->endThread();
}

std::optional<QByteArray> randomBytes(qsizetype count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    return drawRandom(raw(bytes.data()), count) ? std::optional(std::move(bytes)) : std::nullopt;
}

bool isSameSecret(std::string_view claimed, std::string_view secret)
{
    return claimed.size() == secret.size() && areSame(claimed, secret);
}

} // namespace korvane
