#pragma once

#include <algorithm>
#include <string_view>

/// The few questions that text formats ask of ASCII characters, whatever the locale.
namespace korvane {

/// White space as card files have it around names and values; NULs pad damaged files.
constexpr bool isBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n'
        || character == '\0';
}

constexpr std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

constexpr char lowered(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

constexpr bool equalIgnoringCase(std::string_view one, std::string_view other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
        [](char left, char right) { return lowered(left) == lowered(right); });
}

} // namespace korvane
