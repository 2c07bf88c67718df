#pragma once

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace korvane {

/// The functions of OpenSSL's libcrypto that are called here. Where the system allows it the
/// library comes into the process when it is first needed: its tables take 1.4 MB of each process
/// that is linked to it, and a window that stays open for weeks seals a file now and then.
struct OpenSsl {
    decltype(&::RAND_bytes) randomBytes;
    decltype(&::EVP_aes_256_gcm) aes256Gcm;
    decltype(&::EVP_CIPHER_CTX_new) newContext;
    decltype(&::EVP_CIPHER_CTX_free) freeContext;
    decltype(&::EVP_CIPHER_CTX_ctrl) control;
    decltype(&::EVP_CipherInit_ex) init;
    decltype(&::EVP_CipherUpdate) update;
    decltype(&::EVP_CipherFinal_ex) final;
    decltype(&::OPENSSL_thread_stop) endThread;

    /// The library; null where it cannot be had at this moment. May be called from any thread.
    static const OpenSsl* load();

    /// The library where it is here already; null where nothing has needed it so far.
    static const OpenSsl* loaded();
};

} // namespace korvane
