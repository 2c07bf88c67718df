#include "pairing/OpenSsl.h"

namespace korvane {

/// Linked as usual, so that the library is found when the bundle is made, and comes with it.
const OpenSsl* OpenSsl::load()
{
    static const OpenSsl functions{
        .randomBytes = ::RAND_bytes,
        .aes256Gcm = ::EVP_aes_256_gcm,
        .newContext = ::EVP_CIPHER_CTX_new,
        .freeContext = ::EVP_CIPHER_CTX_free,
        .control = ::EVP_CIPHER_CTX_ctrl,
        .init = ::EVP_CipherInit_ex,
        .update = ::EVP_CipherUpdate,
        .final = ::EVP_CipherFinal_ex,
        .endThread = ::OPENSSL_thread_stop,
    };
    return &functions;
}

const OpenSsl* OpenSsl::loaded()
{
    return load();
}

} // namespace korvane
