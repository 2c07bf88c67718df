#include "text/TerminalText.h"

#include "text/Utf8.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace korvane {

namespace {

constexpr UChar32 zeroWidthNonJoiner = 0x200C;
constexpr UChar32 zeroWidthJoiner = 0x200D;
constexpr UChar32 emojiSelector = 0xFE0F;

bool isLineBreak(UChar32 character)
{
    const auto category = u_charType(character);
    return category == U_LINE_SEPARATOR || category == U_PARAGRAPH_SEPARATOR;
}

bool isFormat(UChar32 character)
{
    return u_charType(character) == U_FORMAT_CHAR && character != zeroWidthJoiner;
}

bool isUnsafe(UChar32 character)
{
    return character < 0 || isLineBreak(character) || isFormat(character)
        || u_charType(character) == U_CONTROL_CHAR;
}

int widthOf(UChar32 character)
{
    const auto category = u_charType(character);
    const bool joinsThePrevious = category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK
        || category == U_FORMAT_CHAR || u_hasBinaryProperty(character, UCHAR_EMOJI_MODIFIER);
    if (joinsThePrevious)
        return 0;
    const int eastAsian = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
}

/// Measures a text character by character.
class Meter {
public:
    /// The columns by which the character makes the text wider.
    int add(UChar32 character)
    {
        const bool isJoined = std::exchange(m_previous, character) == zeroWidthJoiner;
        if (isJoined)
            return 0;
        if (character == emojiSelector) // a narrow symbol becomes a picture
            return std::exchange(m_base, 2) == 1 ? 1 : 0;
        const int width = widthOf(character);
        m_base = width > 0 ? width : m_base;
        return width;
    }

private:
    UChar32 m_previous = 0;
    int m_base = 0; ///< the width of the last character that has one
};

/// The longest prefix of `text` that is at most `width` columns wide, but at least one character.
/// Does not end between a symbol and the selector that widens it, unless the symbol comes first.
std::string_view beginning(std::string_view text, int width)
{
    std::size_t length = 0;
    std::size_t symbol = 0; // where the last character that has a width begins
    int used = 0;
    Meter meter;
    for (const auto [character, bytes] : CodePoints(text)) {
        const int added = meter.add(character);
        used += added;
        if (used > width && length > 0)
            return text.substr(0, character == emojiSelector && symbol > 0 ? symbol : length);
        if (added > 0 && character != emojiSelector)
            symbol = length;
        length += bytes.size();
    }
    return text;
}

std::string_view withoutBlanksAtTheEnd(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Fills lines with pieces of a text that must not be broken.
class Lines {
public:
    explicit Lines(int columns) : m_columns(columns) { }

    void add(std::string_view piece)
    {
        int width = displayWidth(withoutBlanksAtTheEnd(piece));
        if (m_width + width > m_columns)
            endLine();
        // In a very narrow column, the parts can be narrower than the whole: see beginning().
        while (width > m_columns && !piece.empty()) {
            const std::string_view part = beginning(piece, m_columns);
            m_lines.emplace_back(part);
            piece.remove_prefix(part.size());
            width -= displayWidth(part);
        }
        m_line += piece;
        m_width += displayWidth(piece);
    }

    std::vector<std::string> finished()
    {
        endLine();
        return std::move(m_lines);
    }

private:
    void endLine()
    {
        const std::string_view line = withoutBlanksAtTheEnd(m_line);
        if (!line.empty())
            m_lines.emplace_back(line);
        m_line.clear();
        m_width = 0;
    }

    const int m_columns;
    std::vector<std::string> m_lines;
    std::string m_line;
    int m_width = 0;
};

using OpenText = std::unique_ptr<UText, decltype(&utext_close)>;

} // namespace

std::string printable(std::string_view text)
{
    std::string safe;
    for (const auto [character, bytes] : CodePoints(text))
        safe += isUnsafe(character) ? replacementCharacter : bytes;
    return safe;
}

std::string printableLines(std::string_view text)
{
    std::string safe;
    UChar32 previous = 0;
    for (const auto [character, bytes] : CodePoints(text)) {
        const bool endsLine = character == '\n' || character == '\r' || isLineBreak(character);
        if (endsLine)
            safe += character == '\n' && previous == '\r' ? "" : "\n";
        else if (character == '\t')
            safe += "    ";
        else if (character == zeroWidthNonJoiner)
            safe += bytes;
        else if (!isFormat(character))
            safe += isUnsafe(character) ? replacementCharacter : bytes;
        previous = character;
    }
    return safe;
}

int displayWidth(std::string_view text)
{
    if (isAscii(text))
        return static_cast<int>(text.size());
    int width = 0;
    Meter meter;
    for (const auto [character, bytes] : CodePoints(text))
        width += meter.add(character);
    return width;
}

std::string fitted(const std::string& text, int widest)
{
    if (displayWidth(text) <= widest)
        return text;
    return std::string(beginning(text, widest - 1)) + "…";
}

std::vector<std::string> wrapped(const std::string& text, int columns)
{
    if (displayWidth(text) <= columns)
        return {text};
    UErrorCode error = U_ZERO_ERROR;
    const OpenText open(
        utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &error),
        &utext_close);
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createLineInstance(icu::Locale::getRoot(), error));
    if (U_SUCCESS(error))
        breaks->setText(open.get(), error);
    Lines lines(columns);
    std::int32_t begin = 0;
    while (U_SUCCESS(error)) {
        const std::int32_t end = breaks->next();
        if (end == icu::BreakIterator::DONE)
            break;
        lines.add(std::string_view(text).substr(
            static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)));
        begin = end;
    }
    lines.add(std::string_view(text).substr(static_cast<std::size_t>(begin)));
    return lines.finished();
}

} // namespace korvane
