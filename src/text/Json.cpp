#include "text/Json.h"

#include "text/Utf8.h"

namespace korvane {

namespace {

constexpr bool mustBeEscaped(unsigned char c)
{
    return (c < 0x20) | (c == '"') | (c == '\\');
}

/// True if no character of `text` must be escaped, as in nearly all texts. Has no early exit, so
/// that the compiler can vectorise the loop.
bool isPlain(std::string_view text)
{
    bool escapes = false;
    for (const char c : text)
        escapes |= mustBeEscaped(static_cast<unsigned char>(c));
    return !escapes;
}

void appendUnicodeEscape(std::string& out, unsigned char c)
{
    constexpr std::string_view digits = "0123456789abcdef";
    out.append("\\u00").append(1, digits[c >> 4U]).append(1, digits[c & 15U]);
}

void appendEscape(std::string& out, char c)
{
    switch (c) {
    case '"':
        out += "\\\"";
        break;
    case '\\':
        out += "\\\\";
        break;
    case '\b':
        out += "\\b";
        break;
    case '\f':
        out += "\\f";
        break;
    case '\n':
        out += "\\n";
        break;
    case '\r':
        out += "\\r";
        break;
    case '\t':
        out += "\\t";
        break;
    default:
        appendUnicodeEscape(out, static_cast<unsigned char>(c));
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

void Json::appendEscaped(std::string& out, std::string_view text)
{
    if (isPlain(text)) {
        out += text;
        return;
    }
    for (const char c : text) {
        if (mustBeEscaped(static_cast<unsigned char>(c)))
            appendEscape(out, c);
        else
            out += c;
    }
}

std::string Json::escaped(std::string_view text, Slash slash)
{
    std::string result;
    appendEscaped(result, text);
    return slash == Slash::Escaped ? withEscapedSlashes(result) : result;
}

std::string Json::quoted(std::string_view text, Slash slash)
{
    return '"' + escaped(text, slash) + '"';
}

std::string Json::quotedBytes(std::string_view bytes)
{
    return quoted(repairedUtf8(bytes));
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
