#include "text/Json.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr bool mustBeEscaped(unsigned char c)
{
    return (c < 0x20) | (c == '"') | (c == '\\');
}

/// No early exit: this is one vector loop, and nearly all texts are plain.
bool isPlain(std::string_view text)
{
    bool escapes = false;
    for (const char c : text)
        escapes |= mustBeEscaped(static_cast<unsigned char>(c));
    return !escapes;
}

char* copy(char* out, std::string_view text)
{
    return std::copy(text.begin(), text.end(), out);
}

char* writeUnicodeEscape(char* out, unsigned char c)
{
    constexpr std::string_view digits = "0123456789abcdef";
    out = copy(out, "\\u00");
    *out++ = digits[c >> 4U];
    *out++ = digits[c & 15U];
    return out;
}

char* writeEscape(char* out, char c)
{
    switch (c) {
    case '"':
        return copy(out, "\\\"");
    case '\\':
        return copy(out, "\\\\");
    case '\b':
        return copy(out, "\\b");
    case '\f':
        return copy(out, "\\f");
    case '\n':
        return copy(out, "\\n");
    case '\r':
        return copy(out, "\\r");
    case '\t':
        return copy(out, "\\t");
    default:
        return writeUnicodeEscape(out, static_cast<unsigned char>(c));
    }
}

std::string withEscapedSlashes(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size() + 16);
    for (const char c : text) {
        if (c == '/')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

} // namespace

char* Json::writeEscaped(char* out, std::string_view text)
{
    if (isPlain(text))
        return copy(out, text);
    for (const char c : text) {
        if (mustBeEscaped(static_cast<unsigned char>(c)))
            out = writeEscape(out, c);
        else
            *out++ = c;
    }
    return out;
}

std::string Json::escaped(std::string_view text, Slash slash)
{
    std::string result(largestEscaped(text.size()), '\0');
    result.resize(static_cast<std::size_t>(writeEscaped(result.data(), text) - result.data()));
    return slash == Slash::Escaped ? withEscapedSlashes(result) : result;
}

std::string Json::quoted(std::string_view text, Slash slash)
{
    return '"' + escaped(text, slash) + '"';
}

Json::Object& Json::Object::text(std::string_view key, std::string_view text)
{
    return value(key, quoted(text, m_slash));
}

Json::Object& Json::Object::number(std::string_view key, std::int64_t number)
{
    return value(key, std::to_string(number));
}

Json::Object& Json::Object::boolean(std::string_view key, bool boolean)
{
    return value(key, boolean ? "true" : "false");
}

Json::Object& Json::Object::value(std::string_view key, std::string_view json)
{
    if (m_members.size() > 1)
        m_members += ',';
    m_members.append(quoted(key, m_slash)).append(1, ':').append(json);
    return *this;
}

} // namespace korvane
