#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace korvane {

/// True if every byte is below 128.
bool isAscii(std::string_view text);

/// True for well-formed UTF-8: no surrogates, no overlong forms, nothing above U+10FFFF.
bool isValidUtf8(std::string_view text);

/// `text` with one U+FFFD in place of each maximal ill-formed subsequence, as the Unicode
/// Standard recommends (chapter 3, "U+FFFD Substitution of Maximal Subparts").
std::string repairedUtf8(std::string_view text);

/// U+FFFD in UTF-8.
inline constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// One code point of a text, and the bytes that it was read from.
struct CodePoint {
    std::int32_t value = 0; ///< negative for a maximal ill-formed subsequence
    std::string_view bytes;
};

/// The code points of a text, in order: `for (const auto [value, bytes] : CodePoints(text))`.
/// A view: the text must outlive it.
class CodePoints {
public:
    class Iterator {
    public:
        explicit Iterator(std::string_view rest) : m_rest(rest) { ++*this; }

        const CodePoint& operator*() const { return m_current; }
        Iterator& operator++();
        bool operator==(std::default_sentinel_t) const { return m_current.bytes.empty(); }

    private:
        std::string_view m_rest; ///< what follows the current code point
        CodePoint m_current; ///< `bytes` is empty at the end
    };

    explicit CodePoints(std::string_view text) : m_text(text) { }

    Iterator begin() const { return Iterator(m_text); }
    static std::default_sentinel_t end() { return {}; }

private:
    std::string_view m_text;
};

} // namespace korvane
