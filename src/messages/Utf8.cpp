#include "messages/Utf8.h"

#include <unicode/utf8.h>

namespace korvane {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// The code point at `position`, negative where ill-formed; moves past it, or past the
/// maximal ill-formed subsequence that begins there.
UChar32 nextCodePoint(std::string_view text, std::size_t& position)
{
    UChar32 codePoint = 0;
    U8_NEXT(text.data(), position, text.size(), codePoint);
    return codePoint;
}

} // namespace

bool isAscii(std::string_view text)
{
    unsigned char seen = 0;
    for (const char c : text)
        seen |= static_cast<unsigned char>(c); // no early exit: this is one vector loop
    return seen < 0x80;
}

bool isValidUtf8(std::string_view text)
{
    if (isAscii(text))
        return true;
    for (std::size_t i = 0; i < text.size();) {
        if (nextCodePoint(text, i) < 0)
            return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view text)
{
    if (isValidUtf8(text))
        return std::string(text);
    std::string repaired;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        const bool valid = nextCodePoint(text, i) >= 0;
        repaired += valid ? text.substr(start, i - start) : replacementCharacter;
    }
    return repaired;
}

} // namespace korvane
