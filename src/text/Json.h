#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane {

/// Writes JSON (RFC 8259), compact and in UTF-8. Texts must be valid UTF-8. Quotation marks,
/// backslashes and the control characters below U+0020 are escaped, and with Slash::Escaped also
/// "/"; all other characters are written as they are.
namespace Json {

enum class Slash { Plain, Escaped };

/// Appends `text` to `out`, escaped, without quotation marks.
void appendEscaped(std::string& out, std::string_view text);

/// `text`, escaped, without quotation marks.
std::string escaped(std::string_view text, Slash slash = Slash::Plain);

/// `text` as a JSON string.
std::string quoted(std::string_view text, Slash slash = Slash::Plain);

/// Any bytes as a JSON string, for paths and words of the user: what is not valid UTF-8 is
/// repaired, see repairedUtf8().
std::string quotedBytes(std::string_view bytes);

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

/// A JSON array of `items`, each converted to a JSON value by `toJson`.
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
