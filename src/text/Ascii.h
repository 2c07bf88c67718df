#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Functions over ASCII characters, independent of the locale.
namespace korvane {

constexpr bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

constexpr char lowered(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

inline std::string lowered(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
        [](char character) { return lowered(character); });
    return result;
}

constexpr bool equalIgnoringCase(std::string_view one, std::string_view other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
        [](char left, char right) { return lowered(left) == lowered(right); });
}

/// `text` without any of `characters` at its beginning and end.
constexpr std::string_view trimmed(std::string_view text, std::string_view characters)
{
    const std::size_t first = std::min(text.find_first_not_of(characters), text.size());
    text.remove_prefix(first);
    return text.substr(0, text.find_last_not_of(characters) + 1);
}

} // namespace korvane
