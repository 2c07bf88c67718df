#include "contacts/VCardText.h"

#include "text/Ascii.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

std::string inUtf8(std::string bytes)
{
    if (bytes.starts_with("\xFF\xFE"))
        return converted(bytes, "UTF-16LE");
    if (bytes.starts_with("\xFE\xFF"))
        return converted(bytes, "UTF-16BE");
    return bytes;
}

/// The position after the line break at `position`.
std::size_t pastLineBreak(std::string_view text, std::size_t position)
{
    while (position < text.size() && text[position] == '\r')
        ++position;
    if (position < text.size() && text[position] == '\n')
        ++position;
    return position;
}

bool isFoldMark(char character)
{
    return character == ' ' || character == '\t';
}

bool startsWithFoldMark(std::string_view line)
{
    return !line.empty() && isFoldMark(line.front());
}

/// Whether this quoted-printable line continues on the next one: it ends in `=`, possibly followed
/// by spaces and tabs.
bool endsInSoftBreak(std::string_view line)
{
    while (!line.empty() && isFoldMark(line.back()))
        line.remove_suffix(1);
    return line.ends_with('=');
}

bool beginsOrEndsCard(std::string_view line)
{
    const std::string_view text = withoutBlanks(line);
    return equalIgnoringCase(text, "BEGIN:VCARD") || equalIgnoringCase(text, "END:VCARD");
}

/// Concatenated files have byte-order marks in the middle.
std::string_view withoutByteOrderMark(std::string_view line)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return line.starts_with(mark) ? line.substr(mark.size()) : line;
}

/// The colon between parameters and value: the first one outside double quotes. If there is none,
/// as when a quote is never closed, the first one of all.
std::size_t findColon(std::string_view line)
{
    const std::size_t first = line.find(':');
    if (first == std::string_view::npos
        || line.substr(0, first).find('"') == std::string_view::npos)
        return first;
    const std::size_t unquoted = findUnquoted(line, ':');
    return unquoted == std::string_view::npos ? first : unquoted;
}

} // namespace

VCardText::Lines::Lines(std::string_view text)
    : m_text(text)
    , m_lineFeed(std::min(text.find('\n'), text.size()))
{
    findEnd();
}

std::string_view VCardText::Lines::take()
{
    const std::string_view line = peek();
    m_start = pastLineBreak(m_text, m_end);
    findEnd();
    return line;
}

/// Takes linear time in all: each line feed is searched once, even if the lines end in CRs and
/// there is none, and each CR only up to the line feed.
void VCardText::Lines::findEnd()
{
    if (m_lineFeed < m_start)
        m_lineFeed = std::min(m_text.find('\n', m_start), m_text.size());
    const std::string_view line = m_text.substr(m_start, m_lineFeed - m_start);
    m_end = m_start + std::min(line.find('\r'), line.size());
}

VCardText::VCardText(std::string bytes) : m_text(inUtf8(std::move(bytes))), m_lines(m_text) { }

std::optional<VCardProperty> VCardText::next()
{
    while (!m_lines.atEnd()) {
        const std::string_view first = m_lines.take();
        const std::string_view all = withFolds(first);
        const std::string_view line = withoutByteOrderMark(all);
        const std::size_t colon = findColon(line);
        if (colon != std::string_view::npos)
            return propertyFrom(line, colon, all.size() > first.size());
    }
    return std::nullopt;
}

VCardProperty VCardText::propertyFrom(std::string_view line, std::size_t colon, bool folded)
{
    const std::string_view header = line.substr(0, colon);
    VCardProperty property
        = parseVCardProperty(folded ? unfolded(header, false) : header, line.substr(colon + 1));
    if (!folded && !endsInSoftBreak(property.value))
        return property;
    const bool quotedPrintable = encodingOf(property).quotedPrintable;
    if (quotedPrintable)
        property.value = withSoftBreaks(property.value);
    if (isText(property.field))
        property.value = unfolded(property.value, quotedPrintable);
    return property;
}

/// Extends the line last taken by the lines that are its folds.
std::string_view VCardText::withFolds(std::string_view line)
{
    std::string_view last = line;
    while (startsWithFoldMark(m_lines.peek()) && !beginsOrEndsCard(m_lines.peek()))
        last = m_lines.take();
    return {line.data(), static_cast<std::size_t>(last.data() + last.size() - line.data())};
}

/// Extends a quoted-printable value, which ends where the line last taken ends, by the lines that
/// follow its soft line breaks.
std::string_view VCardText::withSoftBreaks(std::string_view value)
{
    while (endsInSoftBreak(value) && !m_lines.atEnd() && !beginsOrEndsCard(m_lines.peek())) {
        const std::string_view last = withFolds(m_lines.take());
        value = {value.data(), static_cast<std::size_t>(last.data() + last.size() - value.data())};
    }
    return value;
}

/// Removes line breaks, fold marks and soft line breaks from `folded`, a part of m_text, in place.
/// In quoted-printable, a space after a soft line break is part of the text; after any other line
/// break it is a fold mark.
std::string_view VCardText::unfolded(std::string_view folded, bool quotedPrintable)
{
    char* const begin = m_text.data() + (folded.data() - m_text.data());
    char* end = begin;
    bool continues = true; // the first line has no fold mark
    for (Lines lines(folded); !lines.atEnd();) {
        std::string_view line = lines.take();
        if (!continues && startsWithFoldMark(line))
            line.remove_prefix(1);
        continues = quotedPrintable && endsInSoftBreak(line);
        if (continues)
            line = line.substr(0, line.rfind('='));
        end = std::copy(line.begin(), line.end(), end);
    }
    return {begin, static_cast<std::size_t>(end - begin)};
}

} // namespace korvane
