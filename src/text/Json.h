#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane {

/// Writing JSON (RFC 8259), compact and in UTF-8. Texts must be valid UTF-8; quotation mark,
/// backslash and the control characters below U+0020 are escaped, all others stand as they are.
namespace Json {

enum class Slash { Plain, Escaped };

/// Appends `text`, escaped and without quotation marks, to `out`.
void appendEscaped(std::string& out, std::string_view text);

/// `text` without quotation marks, escaped.
std::string escaped(std::string_view text, Slash slash = Slash::Plain);

/// `text` as a JSON string.
std::string quoted(std::string_view text, Slash slash = Slash::Plain);

/// An object whose members are written in the order in which they are added.
class Object {
public:
    explicit Object(Slash slash = Slash::Plain) : m_slash(slash) { }

    Object& text(std::string_view key, std::string_view value);
    Object& number(std::string_view key, std::int64_t value);
    Object& boolean(std::string_view key, bool value);

    /// `json` is already a JSON value.
    Object& value(std::string_view key, std::string_view json);

    std::string finished() const { return m_members + '}'; }

private:
    const Slash m_slash;
    std::string m_members = "{";
};

/// `[` the values `]`, each of them already JSON.
template <typename Range, typename Write>
std::string array(const Range& items, Write toJson)
{
    std::string json = "[";
    for (const auto& item : items)
        json.append(json.size() > 1 ? "," : "").append(toJson(item));
    return json + ']';
}

} // namespace Json

} // namespace korvane
