#include "support/SealedByOthers.h"

#include <nettle/gcm.h>
#include <nettle/memops.h>

namespace korvane {

namespace {

const std::uint8_t* raw(const char* bytes)
{
    return reinterpret_cast<const std::uint8_t*>(bytes);
}

std::uint8_t* raw(char* bytes)
{
    return reinterpret_cast<std::uint8_t*>(bytes);
}

std::size_t count(QByteArrayView bytes)
{
    return static_cast<std::size_t>(bytes.size());
}

gcm_aes256_ctx begun(QByteArrayView key, QByteArrayView nonce, std::string_view context)
{
    gcm_aes256_ctx cipher;
    gcm_aes256_set_key(&cipher, raw(key.data()));
    gcm_aes256_set_iv(&cipher, count(nonce), raw(nonce.data()));
    gcm_aes256_update(&cipher, context.size(), raw(context.data()));
    return cipher;
}

} // namespace

std::optional<QByteArray> SealedByOthers::open(
    QByteArrayView key, QByteArrayView sealed, std::string_view context)
{
    if (count(key) != AES256_KEY_SIZE || count(sealed) < GCM_IV_SIZE + GCM_DIGEST_SIZE)
        return std::nullopt;
    const QByteArrayView tag = sealed.last(GCM_DIGEST_SIZE);
    const QByteArrayView ciphertext = sealed.sliced(GCM_IV_SIZE).chopped(GCM_DIGEST_SIZE);
    gcm_aes256_ctx cipher = begun(key, sealed.first(GCM_IV_SIZE), context);
    QByteArray text(ciphertext.size(), '\0');
    gcm_aes256_decrypt(&cipher, count(ciphertext), raw(text.data()), raw(ciphertext.data()));
    QByteArray expected(GCM_DIGEST_SIZE, '\0');
    gcm_aes256_digest(&cipher, GCM_DIGEST_SIZE, raw(expected.data()));
    return tag == expected ? std::optional(text) : std::nullopt;
}

QByteArray SealedByOthers::seal(
    QByteArrayView key, QByteArrayView nonce, QByteArrayView text, std::string_view context)
{
    gcm_aes256_ctx cipher = begun(key, nonce, context);
    QByteArray ciphertext(text.size(), '\0');
    gcm_aes256_encrypt(&cipher, count(text), raw(ciphertext.data()), raw(text.data()));
    QByteArray tag(GCM_DIGEST_SIZE, '\0');
    gcm_aes256_digest(&cipher, GCM_DIGEST_SIZE, raw(tag.data()));
    return nonce.toByteArray() + ciphertext + tag;
}

} // namespace korvane
