#include "messages/MessagesDB.h"
#include "text/Utf8.h"

#include <cstdint>
#include <cstdlib>

/// Decodes any bytes as an attributed body: the text, if any, is valid UTF-8 within these bytes.
/// Repairing the bytes yields valid UTF-8, and changes them only if they are not.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto text = korvane::MessagesDB::decodeAttributedBody(bytes)) {
        if (!korvane::isValidUtf8(*text))
            std::abort();
        const bool within = text->data() >= bytes.data() && text->size() <= 65535
            && text->data() + text->size() <= bytes.data() + bytes.size();
        if (!within)
            std::abort();
    }
    const std::string repaired = korvane::repairedUtf8(bytes);
    if (!korvane::isValidUtf8(repaired) || (repaired == bytes) != korvane::isValidUtf8(bytes))
        std::abort();
    return 0;
}
