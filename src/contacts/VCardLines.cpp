#include "contacts/VCardLines.h"

#include "contacts/VCardFolds.h"
#include "text/Ascii.h"

#include <algorithm>

namespace korvane {

namespace {

bool beginsOrEndsCard(std::string_view line)
{
    const std::string_view text = withoutBlanks(line);
    return equalIgnoringCase(text, "BEGIN:VCARD") || equalIgnoringCase(text, "END:VCARD");
}

} // namespace

VCardLines::ByteFinder::ByteFinder(std::string_view text, char byte)
    : m_text(text)
    , m_byte(byte)
    , m_found(std::min(text.find(byte), text.size()))
{
}

std::size_t VCardLines::ByteFinder::from(std::size_t position)
{
    if (m_found < position)
        m_found = std::min(m_text.find(m_byte, position), m_text.size());
    return m_found;
}

VCardLines::VCardLines(std::string_view text)
    : m_text(text)
    , m_lineFeeds(text, '\n')
    , m_returns(text, '\r')
{
}

std::optional<std::string_view> VCardLines::next()
{
    if (m_nextLine == m_text.size())
        return std::nullopt;
    const std::size_t start = m_nextLine;
    takeWithFolds(peek());
    return m_text.substr(start, m_lineEnd - start);
}

bool VCardLines::join(std::string_view& tail)
{
    const std::string_view line = peek();
    if (m_nextLine == m_text.size() || beginsOrEndsCard(line))
        return false;
    takeWithFolds(line);
    const auto start = static_cast<std::size_t>(tail.data() - m_text.data());
    tail = m_text.substr(start, m_lineEnd - start);
    return true;
}

std::string_view VCardLines::peek()
{
    const std::size_t end = std::min(m_lineFeeds.from(m_nextLine), m_returns.from(m_nextLine));
    return m_text.substr(m_nextLine, end - m_nextLine);
}

void VCardLines::take(std::string_view line)
{
    m_lineEnd = m_nextLine + line.size();
    m_nextLine = pastLineBreak(m_text, m_lineEnd);
}

void VCardLines::takeWithFolds(std::string_view line)
{
    take(line);
    while (startsWithFoldMark(m_text.substr(m_nextLine))) {
        line = peek();
        if (beginsOrEndsCard(line))
            return;
        take(line);
    }
}

} // namespace korvane
