#include "text/JsonReader.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

/// A lone surrogate (U+D800), encoded like UTF-8. That is not valid UTF-8, so JsonReader::text()
/// rejects it.
constexpr std::string_view halfOfAPair = "\xED\xA0\x80";

std::size_t digitsEnd(std::string_view json, std::size_t at)
{
    while (at < json.size() && isDigit(json[at]))
        ++at;
    return at;
}

/// True if all of `token` is a JSON number (RFC 8259, section 6).
bool isNumber(std::string_view token)
{
    std::size_t at = token.starts_with('-') ? 1 : 0;
    const std::size_t integer = at;
    at = digitsEnd(token, at);
    bool valid = at > integer && (token[integer] != '0' || at == integer + 1);
    const auto takeDigits = [&] {
        const std::size_t begin = at;
        at = digitsEnd(token, at);
        valid = valid && at > begin;
    };
    if (token.substr(at).starts_with('.')) {
        ++at;
        takeDigits();
    }
    if (at < token.size() && (token[at] == 'e' || token[at] == 'E')) {
        ++at;
        if (at < token.size() && (token[at] == '+' || token[at] == '-'))
            ++at;
        takeDigits();
    }
    return valid && at == token.size();
}

/// The exponent of a JSON number, 0 if it has none. Clamped to ±2^60.
std::int64_t exponentOf(std::string_view number)
{
    constexpr std::int64_t large = std::int64_t{1} << 60U;
    const std::size_t e = number.find_first_of("eE");
    if (e == number.npos)
        return 0;
    std::string_view digits = number.substr(e + 1);
    const bool negative = digits.starts_with('-');
    digits.remove_prefix(isDigit(digits.front()) ? 0 : 1);
    std::int64_t exponent = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    exponent = result.ec == std::errc() ? std::min(exponent, large) : large;
    return negative ? -exponent : exponent;
}

/// The exact value of a JSON number that is an integer, in any form: 100, 100.0, 1e2. Nothing for
/// fractions and for integers that do not fit into 64 bits.
std::optional<std::int64_t> integerFrom(std::string_view number)
{
    constexpr std::size_t mostDigits = 19;
    std::string digits(number.substr(0, number.find_first_of("eE")));
    std::int64_t exponent = exponentOf(number);
    if (const std::size_t point = digits.find('.'); point != digits.npos) {
        exponent -= static_cast<std::int64_t>(digits.size() - point - 1);
        digits.erase(point, 1);
    }
    const std::size_t first = digits.find_first_not_of("-0");
    if (first == digits.npos)
        return 0;
    digits.erase(0, first);
    const std::size_t used = digits.find_last_not_of('0') + 1;
    exponent += static_cast<std::int64_t>(digits.size() - used);
    digits.resize(used);
    if (exponent < 0 || digits.size() + static_cast<std::uint64_t>(exponent) > mostDigits)
        return std::nullopt;
    digits.append(static_cast<std::size_t>(exponent), '0');
    if (number.starts_with('-'))
        digits.insert(0, 1, '-');
    std::int64_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return result.ec == std::errc() ? std::optional(value) : std::nullopt;
}

/// Copies a JSON text in one pass and rewrites what JSON (RFC 8259) allows but RapidJSON rejects:
/// numbers beyond the range of a double become a fraction, and escapes of lone surrogates become
/// bytes that are not valid UTF-8. 64-bit integers get their plain form (100 for 100.0 and 1e2), so
/// that RapidJSON reads them as integers. Any other number may become another fraction. Invalid
/// JSON stays invalid.
///
/// RapidJSON's kParseNumbersAsStringsFlag is no substitute: it rejects the same numbers.
class Normalizer {
public:
    explicit Normalizer(std::string_view json) : m_json(json) { m_text.reserve(json.size() + 1); }

    std::string normalized()
    {
        while (m_at < m_json.size()) {
            if (m_json[m_at] == '"')
                passString();
            else if (m_json[m_at] == '-' || isDigit(m_json[m_at]))
                passNumber();
            else
                ++m_at;
        }
        replace(m_json.size(), m_json.size(), "");
        return std::move(m_text);
    }

private:
    void passString()
    {
        ++m_at;
        while (m_at < m_json.size() && m_json[m_at] != '"') {
            if (m_json[m_at] == '\\')
                passEscape();
            else
                ++m_at;
        }
        ++m_at;
    }

    void passEscape()
    {
        constexpr std::size_t escapeSize = 6; // \uXXXX
        const unsigned unit = codeUnit(m_at);
        const bool isFirst = unit >= 0xD800 && unit < 0xDC00;
        const bool isSecond = unit >= 0xDC00 && unit < 0xE000;
        const unsigned next = isFirst ? codeUnit(m_at + escapeSize) : 0;
        if (!isFirst && !isSecond) {
            m_at += 2;
        } else if (isFirst && next >= 0xDC00 && next < 0xE000) {
            m_at += 2 * escapeSize;
        } else {
            replace(m_at, m_at + escapeSize, halfOfAPair);
            m_at += escapeSize;
        }
    }

    /// The UTF-16 code unit of the "\uXXXX" escape at `at`; 0 if there is none.
    unsigned codeUnit(std::size_t at) const
    {
        constexpr std::size_t digits = 4;
        const std::string_view escape = m_json.substr(std::min(at, m_json.size()), 2 + digits);
        unsigned unit = 0;
        if (!escape.starts_with("\\u"))
            return 0;
        const char* const end = escape.data() + escape.size();
        const auto result = std::from_chars(escape.data() + 2, end, unit, 16);
        return escape.size() == 2 + digits && result.ptr == end ? unit : 0;
    }

    void passNumber()
    {
        constexpr std::size_t alwaysFits = 18;
        const std::size_t end
            = std::min(m_json.find_first_not_of("+-.0123456789Ee", m_at), m_json.size());
        const std::string_view token = m_json.substr(m_at, end - m_at);
        const bool plain = token.size() <= alwaysFits && token.find_first_of(".eE") == token.npos;
        if (!plain && isNumber(token)) {
            const auto integer = integerFrom(token);
            replace(m_at, end, integer ? std::to_string(*integer) : "0.5");
        }
        m_at = end;
    }

    /// Copies the input up to `begin`, then appends `text` in place of the input up to `end`.
    void replace(std::size_t begin, std::size_t end, std::string_view text)
    {
        m_text.append(m_json.substr(m_copied, begin - m_copied)).append(text);
        m_copied = end;
    }

    const std::string_view m_json;
    std::string m_text;
    std::size_t m_at = 0; ///< position of the scan in `m_json`
    std::size_t m_copied = 0; ///< everything before it is in `m_text` already
};

} // namespace

rapidjson::Document JsonReader::parsed(std::string_view json)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (json.starts_with(byteOrderMark))
        json.remove_prefix(byteOrderMark.size());
    // RapidJSON would take a zero byte for the end of the text.
    if (!isValidUtf8(json) || json.find('\0') != std::string_view::npos)
        throw Malformed();
    // The iterative parser does not recurse, so a million nested brackets cannot exhaust the stack.
    // RapidJSON parses a zero-terminated string much faster than one with a length.
    const std::string text = Normalizer(json).normalized();
    rapidjson::Document document;
    if (document.Parse<rapidjson::kParseIterativeFlag>(text.c_str()).HasParseError())
        throw Malformed();
    return document;
}

const JsonReader::Value& JsonReader::object(const Value& value)
{
    if (!value.IsObject())
        throw Malformed();
    return value;
}

std::int64_t JsonReader::integer(const Value& value)
{
    if (!value.IsInt64())
        throw Malformed();
    return value.GetInt64();
}

std::string JsonReader::text(const Value& value)
{
    if (!value.IsString())
        throw Malformed();
    std::string text(value.GetString(), value.GetStringLength());
    if (!isValidUtf8(text)) // a lone surrogate, see Normalizer
        throw Malformed();
    return text;
}

const JsonReader::Value& JsonReader::required(const Value& object, const char* key)
{
    const auto member = object.FindMember(key);
    if (member == object.MemberEnd())
        throw Malformed();
    return member->value;
}

} // namespace korvane
