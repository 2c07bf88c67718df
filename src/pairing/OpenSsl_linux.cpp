#include "pairing/OpenSsl.h"

#include <QLibrary>

#include <atomic>
#include <mutex>
#include <optional>

namespace korvane {

namespace {

std::atomic<const OpenSsl*> library = nullptr;

std::optional<OpenSsl> resolved()
{
    QLibrary file(QStringLiteral("crypto"), OPENSSL_VERSION_MAJOR); // stays when this goes
    const auto resolve = [&file](auto& function, const char* name) {
        function = reinterpret_cast<std::decay_t<decltype(function)>>(file.resolve(name));
        return function != nullptr;
    };
    OpenSsl functions{};
    const bool complete = resolve(functions.randomBytes, "RAND_bytes")
        && resolve(functions.aes256Gcm, "EVP_aes_256_gcm")
        && resolve(functions.newContext, "EVP_CIPHER_CTX_new")
        && resolve(functions.freeContext, "EVP_CIPHER_CTX_free")
        && resolve(functions.control, "EVP_CIPHER_CTX_ctrl")
        && resolve(functions.init, "EVP_CipherInit_ex")
        && resolve(functions.update, "EVP_CipherUpdate")
        && resolve(functions.final, "EVP_CipherFinal_ex")
        && resolve(functions.endThread, "OPENSSL_thread_stop");
    return complete ? std::optional(functions) : std::nullopt;
}

} // namespace

/// Tried again until it works: the process may just have no descriptor to spare.
const OpenSsl* OpenSsl::load()
{
    static std::mutex loading;
    const std::lock_guard guard(loading);
    if (!loaded()) {
        static OpenSsl functions; // guarded by `loading` until it is published, then as it is
        if (const auto all = resolved()) {
            functions = *all;
            library.store(&functions);
        }
    }
    return loaded();
}

const OpenSsl* OpenSsl::loaded()
{
    return library.load();
}

} // namespace korvane
