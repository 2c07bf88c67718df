#include "BareSeal.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <unistd.h>

#include <array>
#include <stdexcept>

namespace korvane {

namespace {

constexpr std::array<unsigned char, 32> anyKey{};

struct ContextFreer {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextFreer>;

void require(bool good)
{
    if (!good)
        throw std::runtime_error("bare reading or sealing failed");
}

} // namespace

BareSeal::BareSeal(std::size_t textSize)
    : m_textSize(textSize)
    , m_bytes(std::make_unique_for_overwrite<char[]>(nonceSize + textSize + tagSize))
{
}

void BareSeal::read(int file, std::int64_t offset)
{
    const ssize_t count = ::pread(file, text(), m_textSize, offset);
    require(count == static_cast<ssize_t>(m_textSize));
}

void BareSeal::seal()
{
    auto* nonce = reinterpret_cast<unsigned char*>(m_bytes.get());
    auto* body = nonce + nonceSize;
    const auto size = static_cast<int>(m_textSize);
    const Context context(EVP_CIPHER_CTX_new());
    int written = 0;
    require(context && RAND_bytes(nonce, nonceSize) == 1
        && EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, anyKey.data(), nonce) == 1
        && EVP_EncryptUpdate(context.get(), body, &written, body, size) == 1
        && EVP_EncryptFinal_ex(context.get(), body + written, &written) == 1
        && EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, tagSize, body + size) == 1);
}

} // namespace korvane
