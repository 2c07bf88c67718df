#include "text/Utf8.h"

#include <unicode/utf8.h>

#include <algorithm>

namespace korvane {

bool isAscii(std::string_view text)
{
    unsigned char seen = 0;
    for (const char c : text)
        seen |= static_cast<unsigned char>(c); // no early exit: vectorisable
    return seen < 0x80;
}

bool isValidUtf8(std::string_view text)
{
    if (isAscii(text))
        return true;
    for (std::size_t i = 0; i < text.size();) {
        UChar32 codePoint = 0;
        U8_NEXT(text.data(), i, text.size(), codePoint);
        if (codePoint < 0)
            return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view text)
{
    if (isValidUtf8(text))
        return std::string(text);
    std::string repaired;
    for (const auto [value, bytes] : CodePoints(text))
        repaired += value < 0 ? replacementCharacter : bytes;
    return repaired;
}

CodePoints::Iterator& CodePoints::Iterator::operator++()
{
    std::size_t size = 0;
    if (!m_rest.empty())
        U8_NEXT(m_rest.data(), size, m_rest.size(), m_current.value);
    m_current.bytes = m_rest.substr(0, size);
    m_rest.remove_prefix(size);
    return *this;
}

} // namespace korvane
