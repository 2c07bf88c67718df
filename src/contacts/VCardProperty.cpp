#include "contacts/VCardProperty.h"

#include "text/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <utility>

namespace korvane {

namespace {

// The header: name and parameters.

VCardField fieldNamed(std::string_view name)
{
    static constexpr std::pair<std::string_view, VCardField> fields[] = {
        {"BEGIN", VCardField::Begin},
        {"END", VCardField::End},
        {"VERSION", VCardField::Version},
        {"AGENT", VCardField::Agent},
        {"KIND", VCardField::Kind},
        {"X-ADDRESSBOOKSERVER-KIND", VCardField::Kind},
        {"X-EVOLUTION-LIST", VCardField::EvolutionList},
        {"N", VCardField::Name},
        {"FN", VCardField::FormattedName},
        {"ORG", VCardField::Organization},
        {"TEL", VCardField::Phone},
        {"EMAIL", VCardField::Email},
    };
    for (const auto& [known, field] : fields) {
        if (equalIgnoringCase(name, known))
            return field;
    }
    return VCardField::Other;
}

std::string_view withoutGroup(std::string_view name)
{
    return name.substr(name.rfind('.') + 1);
}

std::string_view unquoted(std::string_view text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

struct Parameter {
    std::string_view name;
    std::string_view value;
};

/// Removes the first parameter from `rest`, which is empty after the last one. A parameter without
/// a name is returned as an ENCODING. It may also be a TYPE, which is not needed here.
Parameter takeParameter(std::string_view& rest)
{
    const std::size_t end = findUnquoted(rest, ';');
    const std::string_view text = rest.substr(0, end);
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        return {"ENCODING", withoutBlanks(text)};
    return {
        withoutBlanks(text.substr(0, equals)), unquoted(withoutBlanks(text.substr(equals + 1)))};
}

// The bytes of a value.

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

/// Replaces each `marker` followed by two hexadecimal digits by the byte that they encode. The
/// marker is `=` in quoted-printable and `%` in a URI. A marker without two digits is kept.
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

/// Converts bytes in `charset` to UTF-8. If `charset` is empty or unknown, bytes that are valid
/// UTF-8 are kept, and others are converted from the charset `otherwise`. The result is always
/// valid UTF-8: each maximal ill-formed subsequence becomes one U+FFFD, and NULs are removed.
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

// The text of a value.

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

std::size_t findUnquoted(std::string_view text, char sought)
{
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"')
            quoted = !quoted;
        else if (text[i] == sought && !quoted)
            return i;
    }
    return std::string_view::npos;
}

VCardProperty parseVCardProperty(std::string_view header, std::string_view value)
{
    const std::size_t nameEnd = std::min(header.find(';'), header.size());
    return VCardProperty{
        .field = fieldNamed(withoutGroup(withoutBlanks(header.substr(0, nameEnd)))),
        .parameters = header.substr(nameEnd),
        .value = value};
}

VCardEncoding encodingOf(const VCardProperty& property)
{
    VCardEncoding encoding;
    std::string_view rest = property.parameters;
    while (!rest.empty()) {
        const auto [name, value] = takeParameter(rest);
        if (equalIgnoringCase(name, "ENCODING") && equalIgnoringCase(value, "QUOTED-PRINTABLE"))
            encoding.quotedPrintable = true;
        else if (equalIgnoringCase(name, "CHARSET"))
            encoding.charset = value;
    }
    return encoding;
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

std::string decodedValue(const VCardProperty& property, VCardVersion version)
{
    const char* const otherwise = version == VCardVersion::V40 ? "UTF-8" : "windows-1252";
    const VCardEncoding encoding = encodingOf(property);
    if (!encoding.quotedPrintable)
        return toUtf8(property.value, encoding.charset, otherwise);
    return toUtf8(hexDecoded(property.value, '='), encoding.charset, otherwise);
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
