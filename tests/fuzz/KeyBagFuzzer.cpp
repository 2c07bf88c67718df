#include "backup/BackupError.h"
#include "backup/KeyBag.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as the key bag of a backup are parsed or refused with a BackupError.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        korvane::KeyBag::parse({reinterpret_cast<const char*>(data), size});
    } catch (const korvane::BackupError&) {
    }
    return 0;
}
