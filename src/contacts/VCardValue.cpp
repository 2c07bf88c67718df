#include "contacts/VCardValue.h"

#include "contacts/VCardEncoding.h"
#include "contacts/VCardFolds.h"
#include "text/Ascii.h"

#include <algorithm>

namespace korvane {

namespace {

/// The end of the first component of `value`: the first semicolon not escaped by a backslash.
std::size_t componentEnd(std::string_view value)
{
    std::size_t i = 0;
    while (i < value.size() && value[i] != ';')
        i += value[i] == '\\' ? 2 : 1;
    return std::min(i, value.size());
}

/// The character that a backslash followed by `character` encodes; NUL if this is not an escape.
char escapedCharacter(char character, VCardVersion version)
{
    switch (character) {
    case ';':
    case ',':
    case ':':
    case '\\':
        return character;
    case 'n':
    case 'N':
        return version != VCardVersion::V21 ? '\n' : '\0';
    default:
        return '\0';
    }
}

std::string unescaped(std::string_view text, VCardVersion version)
{
    if (text.find('\\') == std::string_view::npos)
        return std::string(text);
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool mayEscape = text[i] == '\\' && i + 1 < text.size();
        const char meant = mayEscape ? escapedCharacter(text[i + 1], version) : '\0';
        result += meant ? meant : text[i];
        i += meant ? 1 : 0;
    }
    return result;
}

} // namespace

std::string decodedValue(const VCardProperty& property, VCardVersion version)
{
    const char* const otherwise = version == VCardVersion::V40 ? "UTF-8" : "windows-1252";
    const VCardEncoding encoding = encodingOf(property);
    std::string buffer;
    if (!encoding.quotedPrintable)
        return toUtf8(unfolded(property.value, buffer), encoding.charset, otherwise);
    buffer = hexDecoded(unfoldedQuotedPrintable(property.value), '=');
    return toUtf8(buffer, encoding.charset, otherwise);
}

std::string wholeText(std::string_view value, VCardVersion version)
{
    return unescaped(withoutBlanks(value), version);
}

std::string componentText(std::string_view value, std::size_t component, VCardVersion version)
{
    std::size_t end = componentEnd(value);
    for (; component > 0 && end < value.size(); --component) {
        value.remove_prefix(end + 1);
        end = componentEnd(value);
    }
    return component == 0 ? wholeText(value.substr(0, end), version) : std::string();
}

std::string withoutScheme(std::string text, std::string_view scheme, char parameterMark)
{
    std::string_view named = text;
    if (!equalIgnoringCase(named.substr(0, scheme.size()), scheme))
        return text;
    named.remove_prefix(scheme.size());
    const std::string bytes = hexDecoded(named.substr(0, named.find(parameterMark)), '%');
    return std::string(withoutBlanks(toUtf8(bytes, {}, "UTF-8")));
}

} // namespace korvane
