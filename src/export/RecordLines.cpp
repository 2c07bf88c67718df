#include "export/RecordLines.h"

#include "storage/FileReader.h"

#include <algorithm>
#include <functional>

namespace korvane {

namespace {

constexpr std::size_t smallBlock = 1024; // usually holds a whole record
constexpr std::size_t mediumBlock = std::size_t{16} * 1024;
constexpr std::size_t largeBlock = std::size_t{256} * 1024;
constexpr std::size_t longestLine = std::size_t{1024} * 1024;

} // namespace

LinesFromEnd::LinesFromEnd(const FileReader& file)
    : m_file(file)
    , m_offset(file.size())
    , m_nextBlock(smallBlock)
{
}

std::optional<std::string_view> LinesFromEnd::next()
{
    if (m_rest)
        m_bytes.resize(*m_rest);
    const auto end = lastLineFeed(0);
    if (!end)
        return std::nullopt;
    m_bytes.resize(*end + 1); // cuts off a torn end
    const auto before = lastLineFeed(1);
    if (!before && !reachedStart())
        return std::nullopt;
    m_rest = before ? *before + 1 : 0;
    return std::string_view(m_bytes).substr(*m_rest, m_bytes.size() - 1 - *m_rest);
}

/// The place in m_bytes of the last line feed before the last `tail` bytes. Reads more of the file
/// until there is one.
std::optional<std::size_t> LinesFromEnd::lastLineFeed(std::size_t tail)
{
    do {
        const auto head = std::string_view(m_bytes).substr(0, m_bytes.size() - tail);
        const std::size_t found = head.rfind('\n');
        if (found != head.npos)
            return found;
    } while (prependBlock());
    return std::nullopt;
}

bool LinesFromEnd::prependBlock()
{
    const auto size = static_cast<std::size_t>(std::min(m_offset, m_nextBlock));
    if (size == 0 || m_bytes.size() > longestLine)
        return false;
    std::string block(size, '\0');
    const auto start = m_offset - static_cast<std::int64_t>(size);
    if (m_file.readAt(start, block) != size)
        return false;
    m_bytes.insert(0, block);
    m_offset = start;
    m_nextBlock = std::min(2 * m_nextBlock, std::int64_t{largeBlock});
    return true;
}

namespace {

std::string_view afterLineFeed(std::string_view text)
{
    const std::size_t end = text.find('\n');
    return end == text.npos ? std::string_view() : text.substr(end + 1);
}

using LineVisitor = std::function<bool(std::string_view line)>;

/// Passes the lines to `visit` that `text` holds with their line feeds, until it returns true.
/// Returns whether there is one.
bool visitLines(std::string_view text, const LineVisitor& visit)
{
    bool any = false;
    for (auto end = text.find('\n'); end != text.npos; end = text.find('\n')) {
        any = true;
        if (visit(text.substr(0, end)))
            break;
        text.remove_prefix(end + 1);
    }
    return any;
}

} // namespace

void visitLinesAfter(const FileReader& file, std::int64_t offset, const LineVisitor& visit)
{
    std::string block;
    for (const std::size_t size : {smallBlock, mediumBlock, largeBlock}) {
        block.resize(size);
        const std::size_t count = file.readAt(offset, block).value_or(0);
        const auto text = std::string_view(block).substr(0, count);
        if (visitLines(offset > 0 ? afterLineFeed(text) : text, visit) || count < size)
            break;
    }
}

} // namespace korvane
