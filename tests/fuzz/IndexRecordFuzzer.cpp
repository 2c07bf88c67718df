#include "backup/BackupError.h"
#include "backup/IndexRecord.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Any bytes as a record of a backup's index, which is a property list, binary or XML, are parsed
/// or refused with a BackupError. What is parsed is within its limits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const auto record
            = korvane::IndexRecord::parse({reinterpret_cast<const char*>(data), size});
        if (record.size < 0 || (!record.wrappedKey.empty() && record.wrappedKey.size() != 40))
            std::abort();
    } catch (const korvane::BackupError&) {
    }
    return 0;
}
