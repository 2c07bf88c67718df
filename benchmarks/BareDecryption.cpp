#include "BareDecryption.h"

#include <openssl/evp.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <vector>

namespace korvane {

namespace {

constexpr int keySize = 32;
using Key = std::array<unsigned char, keySize>;

struct ContextFreer {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextFreer>;

void require(bool good)
{
    if (!good)
        throw std::runtime_error("bare decryption failed");
}

Key derivedKey(int iterations)
{
    constexpr std::array<unsigned char, 20> salt{};
    Key first{};
    Key key{};
    require(PKCS5_PBKDF2_HMAC("password", 8, salt.data(), salt.size(), iterations, EVP_sha256(),
                keySize, first.data())
            == 1
        && PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(first.data()), keySize, salt.data(),
               salt.size(), iterations, EVP_sha1(), keySize, key.data())
            == 1);
    return key;
}

} // namespace

void decryptBarely(const std::string& file, const std::string& to, int iterations)
{
    const Key key = derivedKey(iterations);
    constexpr std::array<unsigned char, 16> zeros{};
    const Context context(EVP_CIPHER_CTX_new());
    require(context
        && EVP_DecryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key.data(), zeros.data())
            == 1
        && EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1);
    const int from = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const int into
        = to.empty() ? -1 : ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    require(from >= 0 && (into >= 0 || to.empty()));
    std::vector<unsigned char> piece(std::size_t(256) << 10);
    for (ssize_t count = 0; (count = ::read(from, piece.data(), piece.size())) > 0;) {
        int written = 0;
        require(EVP_DecryptUpdate(
                    context.get(), piece.data(), &written, piece.data(), static_cast<int>(count))
            == 1);
        require(
            to.empty() || ::write(into, piece.data(), static_cast<std::size_t>(count)) == count);
    }
    ::close(from);
    ::close(into);
}

} // namespace korvane
