#pragma once

#include <string>

namespace korvane {

/// Baseline for opening an encrypted backup: with OpenSSL alone, derives a key as the backup does
/// (PBKDF2 with SHA-256 and then SHA-1, `iterations` each), reads the file, decrypts it
/// (AES-256-CBC) and writes it to `to`, or nowhere if `to` is empty. The key is not the right one,
/// which makes no difference to the time. Throws std::runtime_error.
void decryptBarely(const std::string& file, const std::string& to, int iterations);

} // namespace korvane
