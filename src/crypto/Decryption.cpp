#include "crypto/Decryption.h"

#include <openssl/evp.h>

#include <array>
#include <limits>

namespace korvane {

namespace {

constexpr std::size_t keySize = 32;
constexpr std::size_t wrappedKeySize = keySize + 8;

unsigned char* raw(char* bytes)
{
    return reinterpret_cast<unsigned char*>(bytes);
}

const unsigned char* raw(const char* bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes);
}

/// OpenSSL takes sizes as int.
bool fits(std::size_t size)
{
    return size <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

struct FreeContext {
    void operator()(EVP_CIPHER_CTX* context) const { ::EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>; // freeing it wipes the key

} // namespace

std::optional<Secret> deriveKey(
    Digest digest, const Secret& password, std::string_view salt, std::uint32_t iterations)
{
    constexpr std::uint32_t most = std::numeric_limits<int>::max();
    if (iterations == 0 || iterations > most || !fits(password.size()) || !fits(salt.size()))
        return std::nullopt;
    Secret key(keySize);
    const bool derived
        = ::PKCS5_PBKDF2_HMAC(password.view().data(), static_cast<int>(password.size()),
              raw(salt.data()), static_cast<int>(salt.size()), static_cast<int>(iterations),
              digest == Digest::Sha1 ? ::EVP_sha1() : ::EVP_sha256(), static_cast<int>(keySize),
              raw(key.bytes().data()))
        == 1;
    return derived ? std::optional(std::move(key)) : std::nullopt;
}

std::optional<Secret> unwrapKey(const Secret& wrappingKey, std::string_view wrapped)
{
    const Context context(::EVP_CIPHER_CTX_new());
    if (!context || wrappingKey.size() != keySize || wrapped.size() != wrappedKeySize)
        return std::nullopt;
    ::EVP_CIPHER_CTX_set_flags(context.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
    Secret room(wrappedKeySize); // OpenSSL may use the place of the checksum while it works
    int written = 0;
    const bool unwrapped = ::EVP_DecryptInit_ex(context.get(), ::EVP_aes_256_wrap(), nullptr,
                               raw(wrappingKey.view().data()), nullptr)
            == 1
        && ::EVP_DecryptUpdate(context.get(), raw(room.bytes().data()), &written,
               raw(wrapped.data()), static_cast<int>(wrapped.size()))
            == 1
        && written == static_cast<int>(keySize);
    if (!unwrapped)
        return std::nullopt;
    room.shorten(keySize);
    return room;
}

struct CbcDecryption::State {
    Context context{::EVP_CIPHER_CTX_new()};
};

CbcDecryption::CbcDecryption(const Secret& key) : m_state(std::make_unique<State>())
{
    constexpr std::array<unsigned char, blockSize> zeros{};
    EVP_CIPHER_CTX* context = m_state->context.get();
    if (!context || key.size() != keySize
        || ::EVP_DecryptInit_ex(
               context, ::EVP_aes_256_cbc(), nullptr, raw(key.view().data()), zeros.data())
            != 1
        || ::EVP_CIPHER_CTX_set_padding(context, 0) != 1)
        m_state.reset();
}

CbcDecryption::~CbcDecryption() = default;
CbcDecryption::CbcDecryption(CbcDecryption&&) noexcept = default;
CbcDecryption& CbcDecryption::operator=(CbcDecryption&&) noexcept = default;

bool CbcDecryption::decryptInPlace(std::span<char> blocks)
{
    int written = 0;
    return m_state && fits(blocks.size()) && blocks.size() % blockSize == 0
        && ::EVP_DecryptUpdate(m_state->context.get(), raw(blocks.data()), &written,
               raw(blocks.data()), static_cast<int>(blocks.size()))
        == 1;
}

} // namespace korvane
