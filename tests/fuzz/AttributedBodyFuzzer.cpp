#include "messages/MessagesDB.h"
#include "text/Utf8.h"

#include <cstdint>
#include <cstdlib>

/// Any bytes as an attributed body: the text is valid UTF-8 that lies within them, or there is
/// none. Repairing the same bytes gives valid UTF-8 too.
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
