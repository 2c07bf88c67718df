#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// True where every byte is below 128.
bool isAscii(std::string_view text);

/// True for well-formed UTF-8 (no surrogates, no overlong forms, nothing above U+10FFFF).
bool isValidUtf8(std::string_view text);

/// `text` with one U+FFFD in place of each maximal ill-formed subsequence, as the Unicode
/// Standard recommends (chapter 3, "U+FFFD Substitution of Maximal Subparts").
std::string repairedUtf8(std::string_view text);

} // namespace korvane
