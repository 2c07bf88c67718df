#include "contacts/VCardEncoding.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>

namespace korvane {

namespace {

/// The number of input bytes that are converted; the rest is cut off. ICU uses 32-bit lengths, and
/// one UTF-16 code unit can take three bytes of UTF-8.
constexpr std::size_t longestConversion = std::size_t(512) << 20;

/// The value of a hexadecimal digit, negative for any other character.
int hexValue(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    const char letter = lowered(character);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

std::string converted(std::string_view bytes, const char* charset)
{
    const auto size = static_cast<std::int32_t>(std::min(bytes.size(), longestConversion));
    icu::UnicodeString text(bytes.data(), size, charset);
    // In some charsets ICU replaces an invalid byte by U+001A (SUB).
    text.findAndReplace(icu::UnicodeString(u'\x1A'), icu::UnicodeString(u'\uFFFD'));
    std::string result;
    text.toUTF8String(result);
    return result;
}

/// Looks the name up in ICU's alias table. Opening a converter instead would make ICU search the
/// disk for an unknown name.
bool isKnown(const std::string& charset)
{
    UErrorCode status = U_ZERO_ERROR;
    return ucnv_countAliases(charset.c_str(), &status) > 0;
}

bool isUtf8(const std::string& charset)
{
    return ucnv_compareNames(charset.c_str(), "UTF-8") == 0;
}

std::string validUtf8(std::string_view bytes, const char* otherwise)
{
    return isValidUtf8(bytes) ? std::string(bytes) : converted(bytes, otherwise);
}

} // namespace

std::string hexDecoded(std::string_view text, char marker)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool complete = text[i] == marker && i + 2 < text.size();
        const int high = complete ? hexValue(text[i + 1]) : -1;
        const int low = complete ? hexValue(text[i + 2]) : -1;
        const bool decodes = high >= 0 && low >= 0;
        bytes += decodes ? static_cast<char>(high * 16 + low) : text[i];
        i += decodes ? 2 : 0;
    }
    return bytes;
}

std::string toUtf8(std::string_view bytes, const std::string& charset, const char* otherwise)
{
    std::string text;
    if (charset.empty())
        text = validUtf8(bytes, otherwise);
    else if (isUtf8(charset))
        text = validUtf8(bytes, "UTF-8");
    else
        text = isKnown(charset) ? converted(bytes, charset.c_str()) : validUtf8(bytes, otherwise);
    if (text.find('\0') != std::string::npos)
        std::erase(text, '\0');
    return text;
}

std::string_view fileText(std::string_view file, std::string& buffer)
{
    if (file.starts_with("\xFF\xFE"))
        buffer = converted(file, "UTF-16LE");
    else if (file.starts_with("\xFE\xFF"))
        buffer = converted(file, "UTF-16BE");
    else
        return file;
    return buffer;
}

} // namespace korvane
